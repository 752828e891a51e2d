#include <string>

#include "Benchmarks.h"
#include "Images.h"
#include "pxl/morphology/ElementMorphology.h"
#ifdef PXLWORKS_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

// Compositions relative to those of OpenCV with the same element, and relative to their steps run one by one.
namespace bench {
namespace {

using namespace pxl::morphology;
using pxl::ImageSizes;
using pxl::kernel::StructuringElement;

struct Case {
  ImagePointer input;
  ImagePointer output;
  StructuringElement element;
};

template <class Algorithm>
std::shared_ptr<Algorithm> makeAlgorithm(Case const& one) {
  auto algorithm = std::make_shared<Algorithm>();
  algorithm->inputImage = one.input.get();
  algorithm->element = one.element;
  algorithm->outputImage = one.output.get();
  return algorithm;
}

template <class Algorithm>
Side makeOurs(Case const& one) {
  return [one, algorithm = makeAlgorithm<Algorithm>(one)] { algorithm->execute(); };
}

/** The two steps of an opening as separate runs. */
Side makeSteps(Case const& one) {
  auto const erosion = makeAlgorithm<Erode>(one);
  auto const dilation = makeAlgorithm<Dilate>(one);
  dilation->inputImage = one.output.get();
  return [one, erosion, dilation] {
    erosion->execute();
    dilation->execute();
  };
}

#ifdef PXLWORKS_HAVE_OPENCV
template <class T>
Side makeOpenCv(Case const& one, int operation) {
  int const rows = static_cast<int>(countRows(one.input)), cols = static_cast<int>(countCols(one.input));
  cv::Mat const input(rows, cols, cv::traits::Type<T>::value, one.input->getVoxels());
  cv::Mat const output(rows, cols, cv::traits::Type<T>::value, one.output->getVoxels());
  // All elements here are symmetric.
  auto const margins = one.element.getMargins();
  int const reachOfRows = static_cast<int>(margins.rowsAfter), reachOfCols = static_cast<int>(margins.colsAfter);
  cv::Mat element = cv::Mat::zeros(2 * reachOfRows + 1, 2 * reachOfCols + 1, CV_8U);
  for (auto const& offset : one.element.getOffsets())
    element.at<unsigned char>(static_cast<int>(offset.row) + reachOfRows,
                              static_cast<int>(offset.col) + reachOfCols) = 1;
  return [one, input, output, element, operation]() mutable { cv::morphologyEx(input, output, operation, element); };
}
#endif

template <class T, class MakeTheirs>
void add(std::string const& name, ImageSizes const& sizes, StructuringElement const& element,
         Side (*makeSide)(Case const&), MakeTheirs const& makeTheirs) {
  for (int nbThreads : {1, 2})
    addPair(name, nbThreads, [=] {
      Case const one{makeImage<T>(sizes), pxl::Image::New(cType<T>, sizes), element};
      return Pair{makeSide(one), makeTheirs(one)};
    });
}

template <class T>
void addType(std::string const& type) {
  struct Element {
    char const *name, *text;
  };
  ImageSizes const sizes{4096, 4096, 1, 1, 1};
  for (Element const& element :
       {Element{"square", "connectivity(8)"}, Element{"cross", "connectivity(4)"}, Element{"disk_r3", "disk(3)"},
        Element{"disk_r10", "disk(10)"}, Element{"box_21x21", "box(21, 21)"}, Element{"line_21", "line(21, 0)"}}) {
    StructuringElement const parsed = StructuringElement::parse(element.text);
    std::string const end = "/" + type + "/4096x4096/" + element.name + "/relative_to_";
#ifdef PXLWORKS_HAVE_OPENCV
    add<T>("Open" + end + "opencv_morphologyEx", sizes, parsed, makeOurs<Open>,
           [](Case const& one) { return makeOpenCv<T>(one, cv::MORPH_OPEN); });
    add<T>("WhiteTopHat" + end + "opencv_morphologyEx", sizes, parsed, makeOurs<WhiteTopHat>,
           [](Case const& one) { return makeOpenCv<T>(one, cv::MORPH_TOPHAT); });
    add<T>("Gradient" + end + "opencv_morphologyEx", sizes, parsed, makeOurs<Gradient>,
           [](Case const& one) { return makeOpenCv<T>(one, cv::MORPH_GRADIENT); });
#endif
    add<T>("Open" + end + "its_steps", sizes, parsed, makeOurs<Open>, makeSteps);
    // The cost of the difference: three images are read or written.
    add<T>("WhiteTopHat" + end + "its_opening", sizes, parsed, makeOurs<WhiteTopHat>, makeOurs<Open>);
  }
}

}  // namespace

void addCompositions() {
  addType<unsigned char>("u8");
  addType<unsigned short>("u16");
  addType<float>("f32");
}

}  // namespace bench
