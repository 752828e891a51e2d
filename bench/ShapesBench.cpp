#include <string>

#include "Benchmarks.h"
#include "IdealDilation2d.h"
#include "IdealList.h"
#include "Images.h"
#include "VolumePeers.h"
#include "pxl/kernel/StructuringElements.h"
#include "pxl/morphology/Morphology.h"
#ifdef PXLWORKS_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace bench {
namespace {

using pxl::ImageSizes;
using pxl::kernel::Offset2D;
using pxl::kernel::Offset3D;

/** A shape of one of the operators; `voxels` is its element. */
struct Shape {
  std::string name;
  std::function<std::unique_ptr<pxl::BaseAlgorithm>(pxl::Image const&, pxl::Image&)> make;
  std::vector<Offset3D> voxels;
  unsigned int nbPasses = 1;
};

template <class Algorithm>
std::unique_ptr<Algorithm> makeAlgorithm(pxl::Image const& input, pxl::Image& output) {
  auto algorithm = std::make_unique<Algorithm>();
  algorithm->inputImage = &input;
  algorithm->outputImage = &output;
  return algorithm;
}

std::vector<Offset3D> inPlan(std::vector<Offset2D> const& list) {
  std::vector<Offset3D> voxels;
  for (Offset2D const& offset : list) voxels.push_back({offset.col, offset.row, 0});
  return voxels;
}

template <class Algorithm>
auto makeRound(unsigned int radius, int shapeMode) {
  return [=](pxl::Image const& input, pxl::Image& output) {
    auto algorithm = makeAlgorithm<Algorithm>(input, output);
    algorithm->radius = radius;
    algorithm->shapeMode = shapeMode;
    return algorithm;
  };
}

Shape makeDisk(unsigned int radius) {
  return {"disk_r" + std::to_string(radius), makeRound<pxl::morphology::DilationDisk2d>(radius, 1),
          inPlan(pxl::kernel::generateDiskOffset2DCollection(radius))};
}

Shape makeBall(unsigned int radius) {
  return {"ball_r" + std::to_string(radius), makeRound<pxl::morphology::DilationBall3d>(radius, 1),
          pxl::kernel::generateSphereOffset3DCollection(radius)};
}

Shape makeLine(double angle) {
  auto const make = [=](pxl::Image const& input, pxl::Image& output) {
    auto algorithm = makeAlgorithm<pxl::morphology::DilationLine2d>(input, output);
    algorithm->lineSize = 21;
    algorithm->lineAngle = angle;
    return algorithm;
  };
  return {"line_21_at_" + std::to_string(static_cast<int>(angle)), make,
          inPlan(pxl::kernel::generateLineOffset2DCollectionWithConstNumOfPixels(angle, 21, true))};
}

Shape makeOrientedDisk(unsigned int radius) {
  auto const make = [=](pxl::Image const& input, pxl::Image& output) {
    auto algorithm = makeAlgorithm<pxl::morphology::DilationDisk3d>(input, output);
    algorithm->radius = radius;
    algorithm->firstAngle = 30;
    algorithm->secondAngle = 45;
    return algorithm;
  };
  return {"disk_r" + std::to_string(radius) + "_at_30_45", make,
          pxl::kernel::generateDiskOffset3DCollection(45, 30, radius)};
}

Shape makeVolumeLine() {
  auto const make = [](pxl::Image const& input, pxl::Image& output) {
    auto algorithm = makeAlgorithm<pxl::morphology::DilationLine3d>(input, output);
    algorithm->lineSize = 21;
    algorithm->firstAngle = 30;
    algorithm->secondAngle = 45;
    return algorithm;
  };
  return {"line_21_at_30_45", make,
          pxl::kernel::generateLineOffset3DCollectionWithConstNumOfPixels(45, 30, 21, true)};
}

struct Case {
  ImagePointer input;
  ImagePointer output;
  Shape shape;
};

Side makeOurs(Case const& one, char const* runner = "") {
  std::shared_ptr<pxl::BaseAlgorithm> const algorithm = one.shape.make(*one.input, *one.output);
  algorithm->setRunner(runner);
  return [one, algorithm] { algorithm->execute(); };
}

template <class T>
Side makeCeiling(Case const& one) {
  auto const ideal = std::make_shared<IdealList<T>>(one.input, one.output, one.shape.voxels);
  return [ideal] { (*ideal)(); };
}

// As many passes of the square as the octagon has of squares and crosses.
template <class T>
Side makePassesCeiling(Case const& one) {
  auto const ideal = std::make_shared<IdealDilation2d<T, true>>(one.input, one.output, one.shape.nbPasses);
  return [ideal] { (*ideal)(); };
}

#ifdef PXLWORKS_HAVE_OPENCV
template <class T>
Side makeOpenCv(Case const& one) {
  int const rows = static_cast<int>(countRows(one.input)), cols = static_cast<int>(countCols(one.input));
  cv::Mat const input(rows, cols, cv::traits::Type<T>::value, one.input->getVoxels());
  cv::Mat const output(rows, cols, cv::traits::Type<T>::value, one.output->getVoxels());
  long const reach = Element{one.shape.voxels}.getReach();
  cv::Mat element = cv::Mat::zeros(static_cast<int>(2 * reach + 1), static_cast<int>(2 * reach + 1), CV_8U);
  for (Offset3D const& o : one.shape.voxels)
    element.at<unsigned char>(static_cast<int>(o.row + reach), static_cast<int>(o.col + reach)) = 1;
  return [one, input, output, element]() mutable { cv::dilate(input, output, element); };
}
#endif

Side makeSse41(Case const& one) { return makeOurs(one, "sse41"); }

using MakeSide = Side (*)(Case const&);

template <class T>
void addPairs(std::string const& name, ImageSizes const& sizes, Shape const& shape, char const* peer,
              MakeSide makeTheirs, int nbPairs = cNbPairs) {
  for (int nbThreads : {1, 2})
    addPair(
        name + "/" + shape.name + "/relative_to_" + peer, nbThreads,
        [=] {
          Case const one{makeImage<T>(sizes), pxl::Image::New(cType<T>, sizes), shape};
          return Pair{makeOurs(one), makeTheirs(one)};
        },
        nbPairs);
}

template <class T>
void addPlane(std::string const& type, std::string const& size, ImageSizes const& sizes) {
  std::string const name = "Shapes/" + type + "/" + size;
  for (Shape const& shape : {makeDisk(3), makeDisk(10), makeDisk(25), makeLine(0), makeLine(30), makeLine(90)}) {
    addPairs<T>(name, sizes, shape, "sse41", makeSse41);
    addPairs<T>(name, sizes, shape, "copy_ceiling", makeCeiling<T>);
#ifdef PXLWORKS_HAVE_OPENCV
    addPairs<T>(name, sizes, shape, "opencv_dilate", makeOpenCv<T>);
#endif
  }
  for (unsigned int radius : {3U, 10U, 50U}) {
    // The other libraries compute the exact disk: none has the fast one.
    Shape const fast{"fast_disk_r" + std::to_string(radius), makeRound<pxl::morphology::DilationDisk2d>(radius, 0),
                     inPlan(pxl::kernel::generateDiskOffset2DCollection(radius)), radius};
    addPairs<T>(name, sizes, fast, "sse41", makeSse41);
    addPairs<T>(name, sizes, fast, "squares_ceiling", makePassesCeiling<T>);
#ifdef PXLWORKS_HAVE_OPENCV
    if (radius <= 10) addPairs<T>(name, sizes, fast, "opencv_exact_disk", makeOpenCv<T>);
#endif
  }
}

template <class T>
void addVolume(std::string const& type) {
  ImageSizes const sizes{256, 256, 256, 1, 1};
  std::string const name = "Shapes/" + type + "/256x256x256";
  for (Shape const& shape : {makeBall(3), makeBall(5), makeOrientedDisk(5), makeVolumeLine()}) {
    addPairs<T>(name, sizes, shape, "sse41", makeSse41);
    addPairs<T>(name, sizes, shape, "copy_ceiling", makeCeiling<T>);
    // A call may take half a minute.
    [[maybe_unused]] constexpr bool cIsCommon = std::is_same_v<T, unsigned char> || std::is_same_v<T, float>;
#ifdef PXLWORKS_HAVE_CIMG
    auto const makeCImg = [](Case const& one) { return makeCImgDilation<T>(one.input, {one.shape.voxels}); };
    if (cIsCommon || shape.voxels.size() < 200)
      addPairs<T>(name, sizes, shape, "cimg_dilate", makeCImg, cNbSlowPairs);
#endif
#ifdef PXLWORKS_HAVE_ITK
    if constexpr (cIsCommon) {
      auto const makeItk = [](Case const& one) { return makeItkDilation<T>(one.input, {one.shape.voxels}); };
      addPairs<T>(name, sizes, shape, "itk_dilate", makeItk, cNbSlowPairs);
    }
#endif
  }
  for (unsigned int radius : {5U, 20U}) {
    Shape const fast{
        "fast_ball_r" + std::to_string(radius), makeRound<pxl::morphology::DilationBall3d>(radius, 0), {}};
    addPairs<T>(name, sizes, fast, "sse41", makeSse41);
    addPairs<T>(name, sizes, fast, "memcpy", [](Case const& one) { return makeCopy<T>(one.input); });
  }
}

template <class T>
void addType(char const* type) {
  addPlane<T>(type, "4096x4096", {4096, 4096, 1, 1, 1});
  addPlane<T>(type, "2048x2048", {2048, 2048, 1, 1, 1});
  addVolume<T>(type);
}

}  // namespace

void addShapes() {
  addType<unsigned char>("u8");
  addType<unsigned short>("u16");
  addType<float>("f32");
  addType<double>("f64");
}

}  // namespace bench
