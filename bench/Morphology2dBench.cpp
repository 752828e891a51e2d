#include <string>

#include "Benchmarks.h"
#include "IdealDilation2d.h"
#include "Images.h"
#include "pxl/morphology/Morphology.h"
#ifdef PXLWORKS_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace bench {
namespace {

using pxl::ImageSizes;

struct Case {
  ImagePointer input;
  ImagePointer output;
  bool isSquare;
  unsigned int nbIterations;
};

Side makeOurs(Case const& one, char const* runner = "") {
  return [one, runner] {
    pxl::morphology::Dilation2d dilation;
    dilation.inputImage = one.input.get();
    dilation.outputImage = one.output.get();
    dilation.neighborhood = one.isSquare ? 1 : 0;
    dilation.numberOfIterations = one.nbIterations;
    dilation.setRunner(runner);
    dilation.execute();
  };
}

template <class T>
Side makeCeiling(Case const& one) {
  if (one.isSquare) {
    auto ideal = std::make_shared<IdealDilation2d<T, true>>(one.input, one.output, one.nbIterations);
    return [ideal] { (*ideal)(); };
  }
  auto ideal = std::make_shared<IdealDilation2d<T, false>>(one.input, one.output, one.nbIterations);
  return [ideal] { (*ideal)(); };
}

#ifdef PXLWORKS_HAVE_OPENCV
template <class T>
Side makeOpenCv(Case const& one) {
  int const rows = static_cast<int>(countRows(one.input)), cols = static_cast<int>(countCols(one.input));
  cv::Mat const input(rows, cols, cv::traits::Type<T>::value, one.input->getVoxels());
  cv::Mat const output(rows, cols, cv::traits::Type<T>::value, one.output->getVoxels());
  cv::Mat const element = cv::getStructuringElement(one.isSquare ? cv::MORPH_RECT : cv::MORPH_CROSS, cv::Size(3, 3));
  int const nbIterations = static_cast<int>(one.nbIterations);
  return [one, input, output, element, nbIterations]() mutable {
    cv::dilate(input, output, element, cv::Point(-1, -1), nbIterations, cv::BORDER_CONSTANT,
               cv::morphologyDefaultBorderValue());
  };
}
#endif

template <class T>
void addCase(std::string const& type, std::string const& size, ImageSizes const& sizes, bool isSquare,
             unsigned int nbIterations) {
  std::string const prefix = "Dilation2d/" + type + "/" + size + "/" + (isSquare ? "square" : "cross") +
                             "/iterations_" + std::to_string(nbIterations) + "/relative_to_";
  for (int nbThreads : {1, 2}) {
    auto const add = [&](char const* peer, Side (*makeTheirs)(Case const&)) {
      addPair(prefix + peer, nbThreads, [=] {
        Case const one{makeImage<T>(sizes), pxl::Image::New(cType<T>, sizes), isSquare, nbIterations};
        return Pair{makeOurs(one), makeTheirs(one)};
      });
    };
    add("sse41", [](Case const& one) { return makeOurs(one, "sse41"); });
    add("copy_ceiling", makeCeiling<T>);
    if (nbIterations == 1) add("memcpy", [](Case const& one) { return makeCopy<T>(one.input); });
#ifdef PXLWORKS_HAVE_OPENCV
    add("opencv_dilate", makeOpenCv<T>);
#endif
  }
}

template <class T>
void addType(char const* type, char const* size, ImageSizes const& sizes) {
  for (bool isSquare : {true, false})
    for (unsigned int nbIterations : {1U, 3U, 10U, 34U}) addCase<T>(type, size, sizes, isSquare, nbIterations);
}

void addSize(char const* size, ImageSizes const& sizes) {
  addType<unsigned char>("u8", size, sizes);
  addType<unsigned short>("u16", size, sizes);
  addType<float>("f32", size, sizes);
  addType<double>("f64", size, sizes);
}

}  // namespace

void addMorphology2d() {
  addSize("4096x4096", {4096, 4096, 1, 1, 1});
  addSize("1024x1024", {1024, 1024, 1, 1, 1});
  addSize("512x512", {512, 512, 1, 1, 1});
}

}  // namespace bench
