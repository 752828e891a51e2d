#pragma once

#include "morphology/RunOnOffsets.h"
#include "pxl/kernel/StructuringElements.h"

/** The operators that are one pass with the list of a shape. `Functor` is DilationFunctor or ErosionFunctor. */
namespace pxl::morphology {

/** Runs DilationLine2d and ErosionLine2d. */
template <class Algo, class Functor>
struct Line2dDispatcher {
  template <class T>
  static void run(Algo* algorithm) {
    unsigned int const lineSize = algorithm->lineSize;
    double const angle = algorithm->lineAngle;
    runOnOffsets<Functor, T>(algorithm,
                             kernel::generateLineOffset2DCollectionWithConstNumOfPixels(angle, lineSize, true));
  }
};

/** Runs DilationLine3d and ErosionLine3d. */
template <class Algo, class Functor>
struct Line3dDispatcher {
  template <class T>
  static void run(Algo* algorithm) {
    unsigned int const lineSize = algorithm->lineSize;
    double const azimuth = algorithm->firstAngle;
    double const elevation = algorithm->secondAngle;
    runOnOffsets<Functor, T>(
        algorithm, kernel::generateLineOffset3DCollectionWithConstNumOfPixels(elevation, azimuth, lineSize, true));
  }
};

/** Runs DilationDisk3d and ErosionDisk3d. */
template <class Algo, class Functor>
struct Disk3dDispatcher {
  template <class T>
  static void run(Algo* algorithm) {
    unsigned int const radius = algorithm->radius;
    double const azimuth = algorithm->firstAngle;
    double const elevation = algorithm->secondAngle;
    runOnOffsets<Functor, T>(algorithm, kernel::generateDiskOffset3DCollection(elevation, azimuth, radius));
  }
};

}  // namespace pxl::morphology
