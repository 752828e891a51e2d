#include <string>

#include "Benchmarks.h"
#include "IdealDilation3d.h"
#include "Images.h"
#include "VolumePeers.h"
#include "pxl/morphology/Morphology.h"
#ifdef PXLWORKS_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif
#ifdef PXLWORKS_HAVE_FILES
#include <filesystem>

#include "qorn/io/ImageFile.h"
#endif

namespace bench {
namespace {

struct Case {
  ImagePointer input;
  ImagePointer output;
  int neighborhood;
  unsigned int nbIterations;
};

Side makeOurs(Case const& one, char const* runner = "") {
  return [one, runner] {
    pxl::morphology::Dilation3d dilation;
    dilation.inputImage = one.input.get();
    dilation.outputImage = one.output.get();
    dilation.neighborhood = one.neighborhood;
    dilation.numberOfIterations = one.nbIterations;
    dilation.setRunner(runner);
    dilation.execute();
  };
}

template <class T, int cNeighborhood, bool cIsByContract>
Side makeCeilingOf(Case const& one) {
  auto ideal =
      std::make_shared<IdealDilation3d<T, cNeighborhood, cIsByContract>>(one.input, one.output, one.nbIterations);
  return [ideal] { (*ideal)(); };
}

template <class T, bool cIsByContract>
Side makeCeiling(Case const& one) {
  return one.neighborhood == 0   ? makeCeilingOf<T, 0, cIsByContract>(one)
         : one.neighborhood == 1 ? makeCeilingOf<T, 1, cIsByContract>(one)
                                 : makeCeilingOf<T, 2, cIsByContract>(one);
}

// As CImg and ITK take them.
Element getElement(Case const& one) { return makeNeighbours(one.neighborhood + 1, one.nbIterations); }

#ifdef PXLWORKS_HAVE_OPENCV
// The cube as squares in the slices, then the largest of three slices.
template <class T>
Side makeOpenCvSlices(Case const& one) {
  int const rows = static_cast<int>(one.input->getNumOf(pxl::cRows));
  int const cols = static_cast<int>(one.input->getNumOf(pxl::cColumns));
  int const plans = static_cast<int>(one.input->getNumOf(pxl::cPlans));
  return [one, rows, cols, plans] {
    T* const input = static_cast<T*>(one.input->getVoxels());
    T* const output = static_cast<T*>(one.output->getVoxels());
    auto const slice = [&](T* voxels, int plan) {
      return cv::Mat(rows, cols, cv::traits::Type<T>::value, voxels + static_cast<long>(plan) * rows * cols);
    };
    cv::Mat const element = cv::getStructuringElement(cv::MORPH_RECT, cv::Size(3, 3));
    std::vector<cv::Mat> squares(static_cast<std::size_t>(plans));
    for (int p = 0; p < plans; ++p) cv::dilate(slice(input, p), squares[static_cast<std::size_t>(p)], element);
    for (int p = 0; p < plans; ++p) {
      cv::Mat result = slice(output, p);
      squares[static_cast<std::size_t>(p)].copyTo(result);
      if (p > 0) cv::max(result, squares[static_cast<std::size_t>(p - 1)], result);
      if (p + 1 < plans) cv::max(result, squares[static_cast<std::size_t>(p + 1)], result);
    }
  };
}
#endif

/** Registers the pairs of one case; makeInput returns the volume. */
template <class T>
void addCase(std::string const& volume, std::function<ImagePointer()> const& makeInput, int neighborhood,
             unsigned int nbIterations) {
  char const* const names[] = {"faces_6", "edges_18", "cube_26"};
  std::string const prefix = "Dilation3d/" + volume + "/" + names[neighborhood] + "/iterations_" +
                             std::to_string(nbIterations) + "/relative_to_";
  for (int nbThreads : {1, 2}) {
    auto const add = [&](char const* peer, Side (*makeTheirs)(Case const&), int nbPairs = cNbPairs) {
      addPair(
          prefix + peer, nbThreads,
          [=] {
            ImagePointer const input = makeInput();
            Case const one{input, pxl::Image::New(cType<T>, input->getSizes()), neighborhood, nbIterations};
            return Pair{makeOurs(one), makeTheirs(one)};
          },
          nbPairs);
    };
    add("sse41", [](Case const& one) { return makeOurs(one, "sse41"); });
    add("copy_ceiling", makeCeiling<T, false>);
    if (nbIterations == 1) add("contract_ceiling", makeCeiling<T, true>);
    if (nbIterations == 1) add("memcpy", [](Case const& one) { return makeCopy<T>(one.input); });
    bool const isForLibraries = nbIterations == 1 || (nbIterations == 10 && neighborhood == 2);
#ifdef PXLWORKS_HAVE_CIMG
    auto const makeCImg = [](Case const& one) { return makeCImgDilation<T>(one.input, getElement(one)); };
    if (isForLibraries) add("cimg_dilate", makeCImg, cNbSlowPairs);
#endif
#ifdef PXLWORKS_HAVE_ITK
    auto const makeItk = [](Case const& one) { return makeItkDilation<T>(one.input, getElement(one)); };
    if (isForLibraries) add("itk_dilate", makeItk, cNbSlowPairs);
#endif
#ifdef PXLWORKS_HAVE_OPENCV
    if (nbIterations == 1 && neighborhood == 2) add("opencv_slices", makeOpenCvSlices<T>);
#endif
  }
}

template <class T>
void addRandom(char const* type, int neighborhood, unsigned int nbIterations) {
  addCase<T>(
      std::string(type) + "/256x256x256",
      [] {
        return makeImage<T>({256, 256, 256, 1, 1});
      },
      neighborhood, nbIterations);
}

#ifdef PXLWORKS_HAVE_FILES
// A brain of Debian's mricron-data, uint8, 181 x 217 x 181.
constexpr char cBrain[] = "/usr/share/mricron/templates/ch2.nii.gz";

void addBrain(int neighborhood, unsigned int nbIterations) {
  if (!std::filesystem::exists(cBrain)) return;
  addCase<unsigned char>(
      "u8/brain", [] { return qorn::io::readImage(cBrain).image; }, neighborhood, nbIterations);
}
#endif

}  // namespace

void addMorphology3d() {
  for (int neighborhood : {0, 1, 2})
    for (unsigned int nbIterations : {1U, 3U, 10U}) {
      addRandom<unsigned char>("u8", neighborhood, nbIterations);
      addRandom<unsigned short>("u16", neighborhood, nbIterations);
      addRandom<float>("f32", neighborhood, nbIterations);
#ifdef PXLWORKS_HAVE_FILES
      addBrain(neighborhood, nbIterations);
#endif
    }
}

}  // namespace bench
