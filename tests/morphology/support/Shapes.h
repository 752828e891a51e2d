#pragma once

#include <memory>
#include <string>

#include "oracle/Shapes.h"
#include "pxl/AlgoInfo.h"
#include "pxl/Property.h"
#include "support/Runs.h"

/** The operators whose element has a shape: lines, disks and balls. */
namespace morphology_test {

enum class Shape { cLine2d, cLine3d, cDisk3d, cDisk2d, cBall3d };
constexpr Shape cShapes[] = {Shape::cLine2d, Shape::cLine3d, Shape::cDisk3d, Shape::cDisk2d, Shape::cBall3d};
constexpr Operation cOperations[] = {Operation::cDilation, Operation::cErosion};
constexpr int cFast = 0, cExact = 1;

/** An operator, its element, and how it is run. */
struct ShapeWay {
  Shape shape = Shape::cDisk2d;
  Operation operation = Operation::cDilation;
  unsigned int size = 3;  ///< radius, or length of a line
  int shapeMode = cExact;
  double firstAngle = 0;  ///< of a line in a plan its angle
  double secondAngle = 0;
  bool isInPlace = false;
  unsigned long extraMemory = 1UL << 30;
};

inline bool isLine(Shape shape) { return shape == Shape::cLine2d || shape == Shape::cLine3d; }
inline bool isRound(Shape shape) { return shape == Shape::cDisk2d || shape == Shape::cBall3d; }
inline bool isInPlan(Shape shape) { return shape == Shape::cLine2d || shape == Shape::cDisk2d; }

inline std::string getName(ShapeWay const& way) {
  char const* const names[] = {"Line2d", "Line3d", "Disk3d", "Disk2d", "Ball3d"};
  return (way.operation == Operation::cDilation ? "Dilation" : "Erosion") +
         std::string(names[static_cast<int>(way.shape)]);
}

inline std::ostream& operator<<(std::ostream& stream, ShapeWay const& way) {
  return stream << getName(way) << " of " << way.size << (isRound(way.shape) && way.shapeMode == cFast ? " fast" : "")
                << " at " << way.firstAngle << ", " << way.secondAngle << (way.isInPlace ? " in place" : "")
                << (way.extraMemory == 0 ? " without a temporary" : "");
}

template <class T>
void setProperty(pxl::BaseAlgorithm& algorithm, char const* name, T value) {
  dynamic_cast<pxl::Property<T>&>(*algorithm.findProperty(name)).set(value);
}

inline std::unique_ptr<pxl::BaseAlgorithm> makeAlgorithm(ShapeWay const& way, pxl::ImageModel const* input,
                                                         pxl::ImageModel* output) {
  auto algorithm = pxl::AlgoInfo::find(getName(way).c_str())->create();
  setProperty(*algorithm, "inputImage", input);
  setProperty(*algorithm, "outputImage", output);
  setProperty(*algorithm, isLine(way.shape) ? "lineSize" : "radius", way.size);
  if (isRound(way.shape)) {
    setProperty(*algorithm, "shapeMode", way.shapeMode);
  } else if (way.shape == Shape::cLine2d) {
    setProperty(*algorithm, "lineAngle", way.firstAngle);
  } else {
    setProperty(*algorithm, "firstAngle", way.firstAngle);
    setProperty(*algorithm, "secondAngle", way.secondAngle);
  }
  algorithm->setMaximumExtraMemoryUsageInBytes(way.extraMemory);
  return algorithm;
}

/** The voxels of the element, in the order in which the exact shapes fold them. */
inline oracle::OffsetList getElement(ShapeWay const& way) {
  long const size = way.size;
  switch (way.shape) {
    case Shape::cLine2d:
      return oracle::makeLine(0, way.firstAngle, size);
    case Shape::cLine3d:
      return oracle::makeLine(way.secondAngle, way.firstAngle, size);
    case Shape::cDisk3d:
      return oracle::makeFlatDisk(way.secondAngle, way.firstAngle, size);
    case Shape::cDisk2d:
      return way.shapeMode == cFast ? oracle::makeOctagon(size) : oracle::makeDisk(size);
    case Shape::cBall3d:
      break;
  }
  return way.shapeMode == cFast ? oracle::makePolyhedron(size) : oracle::makeBall(size);
}

/** What a run gives by plain loops. */
template <class T>
oracle::Image<T> getExpected(ShapeWay const& way, oracle::Image<T> const& image) {
  return oracle::applyVolumeList(image, way.operation, getElement(way));
}

/** Compares runs apart and in place with what they should give. */
template <class T>
testing::AssertionResult areRightApartAndInPlace(ShapeWay way, oracle::Image<T> const& image,
                                                 oracle::Image<T> const& expected) {
  for (bool isInPlace : {false, true}) {
    way.isInPlace = isInPlace;
    auto const result = areEqual(run(way, image), expected);
    if (!result) return testing::AssertionFailure() << way << ": " << result.message();
  }
  return testing::AssertionSuccess();
}

template <class T>
testing::AssertionResult areRightApartAndInPlace(ShapeWay const& way, oracle::Image<T> const& image) {
  return areRightApartAndInPlace(way, image, getExpected(way, image));
}

}  // namespace morphology_test
