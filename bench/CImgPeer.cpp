// Compiled without OpenMP, so that the library has one thread.
#define cimg_display 0
#define cimg_OS 1
#include <CImg.h>

#include "VolumePeers.h"

namespace bench {
namespace {

template <class T>
using CImg = cimg_library::CImg<T>;

/** Looks at the voxels of an image. */
template <class T>
std::shared_ptr<CImg<T> const> wrap(ImagePointer const& image) {
  auto const size = [&image](pxl::Components c) { return static_cast<unsigned int>(image->getNumOf(c)); };
  return std::make_shared<CImg<T> const>(getVoxels<T>(image), size(pxl::cColumns), size(pxl::cRows),
                                         size(pxl::cPlans), 1U, true);
}

/** A cube of voxels around offset 0, those at the offsets set. */
template <class T, class GetValue>
std::shared_ptr<CImg<T> const> makeCube(std::vector<pxl::kernel::Offset3D> const& offsets, long reach,
                                        GetValue const& getValue) {
  unsigned int const size = static_cast<unsigned int>(2 * reach + 1);
  auto const cube = std::make_shared<CImg<T>>(size, size, size, 1U, T(0));
  auto const at = [reach](long offset) { return static_cast<unsigned int>(offset + reach); };
  for (std::size_t i = 0; i < offsets.size(); ++i)
    (*cube)(at(offsets[i].col), at(offsets[i].row), at(offsets[i].plan)) = getValue(i);
  return cube;
}

}  // namespace

template <class T>
Side makeCImgDilation(ImagePointer const& input, Element const& element) {
  auto const image = wrap<T>(input);
  if (element.isCube) {
    unsigned int const size = 2 * element.nbPasses + 1;
    return [input, image, size] { CImg<T> const result = image->get_dilate(size, size, size); };
  }
  auto const mask = makeCube<T>(element.voxels, element.getReach(), [](std::size_t) { return T(1); });
  return [input, image, mask, nbPasses = element.nbPasses] {
    CImg<T> result = image->get_dilate(*mask);
    for (unsigned int i = 1; i < nbPasses; ++i) result.dilate(*mask);
  };
}
template Side makeCImgDilation<unsigned char>(ImagePointer const&, Element const&);
template Side makeCImgDilation<unsigned short>(ImagePointer const&, Element const&);
template Side makeCImgDilation<float>(ImagePointer const&, Element const&);
template Side makeCImgDilation<double>(ImagePointer const&, Element const&);

template <class T>
Side makeCImgCorrelation(ImagePointer const& input, Taps const& taps) {
  auto const image = wrap<T>(input);
  auto const kernel = makeCube<float>(taps.offsets, taps.reach,
                                      [&](std::size_t i) { return static_cast<float>(taps.coefficients[i]); });
  return [input, image, kernel] { CImg<float> const result = image->get_correlate(*kernel); };
}
template Side makeCImgCorrelation<unsigned char>(ImagePointer const&, Taps const&);
template Side makeCImgCorrelation<float>(ImagePointer const&, Taps const&);

}  // namespace bench
