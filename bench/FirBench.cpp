#include <string>

#include "Benchmarks.h"
#include "IdealFir.h"
#include "Images.h"
#include "VolumePeers.h"
#include "pxl/filtering/linear/FiniteImpulseResponseFilter.h"
#ifdef PXLWORKS_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace bench {
namespace {

using pxl::filtering::linear::FiniteImpulseResponseFilter2D;
using pxl::filtering::linear::FiniteImpulseResponseFilter3D;

struct Case {
  ImagePointer input;
  ImagePointer output;
  Taps taps;
};

/** A box with every `step`-th column and row. */
Taps makeBox(long reach, long step, long planReach) {
  Taps taps{{}, {}, reach, planReach};
  for (long plan = -planReach; plan <= planReach; ++plan)
    for (long row = -reach; row <= reach; row += step)
      for (long col = -reach; col <= reach; col += step) taps.offsets.push_back({col, row, plan});
  double const sum = static_cast<double>(taps.offsets.size() * (taps.offsets.size() + 1) / 2);
  for (std::size_t i = 1; i <= taps.offsets.size(); ++i) taps.coefficients.push_back(static_cast<double>(i) / sum);
  return taps;
}

Side makeOurs(Case const& one, char const* runner = "") {
  auto const execute = [runner](auto& filter, Case const& what, auto kernel) {
    filter.inputImage = what.input.get();
    filter.kernel = kernel;
    filter.outputImage = what.output.get();
    filter.setRunner(runner);
    filter.execute();
  };
  if (one.taps.planReach > 0)
    return [one, execute] {
      FiniteImpulseResponseFilter3D filter;
      execute(filter, one, pxl::kernel::Kernel3D(one.taps.offsets, one.taps.coefficients));
    };
  return [one, execute] {
    std::vector<pxl::kernel::Offset2D> offsets;
    for (auto const& offset : one.taps.offsets) offsets.push_back({offset.col, offset.row});
    FiniteImpulseResponseFilter2D filter;
    execute(filter, one, pxl::kernel::Kernel2D(offsets, one.taps.coefficients));
  };
}

template <class T>
Side makeCeiling(Case const& one) {
  auto const ideal = std::make_shared<IdealFir<T>>(one.input, one.output, one.taps);
  return [ideal] { (*ideal)(); };
}

#ifdef PXLWORKS_HAVE_OPENCV
// According to its documentation, the library uses a Fourier transform for kernels of about 11 x 11 and larger.
template <class T>
Side makeOpenCv(Case const& one) {
  int const side = static_cast<int>(2 * one.taps.reach + 1);
  cv::Mat_<Real<T>> kernel(side, side, Real<T>(0));
  for (std::size_t i = 0; i < one.taps.offsets.size(); ++i)
    kernel(static_cast<int>(one.taps.offsets[i].row + one.taps.reach),
           static_cast<int>(one.taps.offsets[i].col + one.taps.reach)) =
        static_cast<Real<T>>(one.taps.coefficients[i]);
  auto const wrap = [](ImagePointer const& image) {
    return cv::Mat(static_cast<int>(countRows(image)), static_cast<int>(countCols(image)), cv::traits::Type<T>::value,
                   image->getVoxels());
  };
  cv::Mat const input = wrap(one.input), output = wrap(one.output);
  return [one, kernel, input, output]() mutable {
    cv::filter2D(input, output, -1, kernel, cv::Point(-1, -1), 0, cv::BORDER_REFLECT_101);
  };
}
#endif

template <class T>
void addCase(std::string const& type, std::string const& size, pxl::ImageSizes const& sizes, std::string const& shape,
             Taps const& taps) {
  std::string const prefix = std::string("FiniteImpulseResponseFilter") + (taps.planReach > 0 ? "3D/" : "2D/") +
                             type + "/" + size + "/" + shape + "/relative_to_";
  for (int nbThreads : {1, 2}) {
    auto const add = [&](char const* peer, Side (*makeTheirs)(Case const&), int nbPairs = cNbPairs) {
      addPair(
          prefix + peer, nbThreads,
          [=] {
            Case const one{makeImage<T>(sizes), pxl::Image::New(cType<T>, sizes), taps};
            return Pair{makeOurs(one), makeTheirs(one)};
          },
          nbPairs);
    };
    add("sse41", [](Case const& one) { return makeOurs(one, "sse41"); });
    add("copy_ceiling", makeCeiling<T>);
#ifdef PXLWORKS_HAVE_OPENCV
    if (taps.planReach == 0) add("opencv_filter2D", makeOpenCv<T>);
#endif
    if constexpr (std::is_same_v<T, unsigned char> || std::is_same_v<T, float>) {
      if (taps.planReach != 1) continue;
#ifdef PXLWORKS_HAVE_CIMG
      auto const makeCImg = [](Case const& one) { return makeCImgCorrelation<T>(one.input, one.taps); };
      add("cimg_correlate", makeCImg, cNbSlowPairs);
#endif
#ifdef PXLWORKS_HAVE_ITK
      auto const makeItk = [](Case const& one) { return makeItkCorrelation<T>(one.input, one.taps); };
      add("itk_neighborhood_operator", makeItk, cNbSlowPairs);
#endif
    }
  }
}

template <class T>
void addType(char const* type) {
  pxl::ImageSizes const plan{4096, 4096, 1, 1, 1}, volume{256, 256, 256, 1, 1};
  addCase<T>(type, "4096x4096", plan, "3x3", makeBox(1, 1, 0));
  addCase<T>(type, "4096x4096", plan, "5x5", makeBox(2, 1, 0));
  addCase<T>(type, "4096x4096", plan, "11x11", makeBox(5, 1, 0));
  addCase<T>(type, "4096x4096", plan, "25_of_21x21", makeBox(10, 5, 0));
  addCase<T>(type, "64x64", {64, 64, 1, 1, 1}, "3x3", makeBox(1, 1, 0));
  addCase<T>(type, "1024x1024", {1024, 1024, 1, 1, 1}, "3x3", makeBox(1, 1, 0));
  addCase<T>(type, "1024x1024", {1024, 1024, 1, 1, 1}, "5x5", makeBox(2, 1, 0));
  addCase<T>(type, "256x256x256", volume, "3x3x3", makeBox(1, 1, 1));
  addCase<T>(type, "256x256x256", volume, "5x5x5", makeBox(2, 1, 2));
}

}  // namespace

void addFir() {
  addType<unsigned char>("u8");
  addType<unsigned short>("u16");
  addType<short>("s16");
  addType<float>("f32");
  addType<double>("f64");
}

}  // namespace bench
