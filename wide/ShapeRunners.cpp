#include <algorithm>
#include <cstring>

#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "pxl/kernel/StructuringElements.h"
#include "pxl/morphology/ElementMorphology.h"
#include "pxl/morphology/Morphology.h"
#include "wide/ListPlans.h"
#include "wide/MorphologyRunner.h"
#include "wide/Plans3d.h"

namespace pxl::wide {
namespace {

// A list in one plan is that of an operator of planes.
Stages makeListStages(PlanImage const& image, std::vector<kernel::Offset3D> offsets) {
  bool const isVolume =
      std::any_of(offsets.begin(), offsets.end(), [](kernel::Offset3D const& offset) { return offset.plan != 0; });
  Stages stages;
  stages.push_back({makeListPrograms(image, isVolume, std::move(offsets)), 1});
  return stages;
}

Stages makeListStages(PlanImage const& image, std::vector<kernel::Offset2D> const& offsets) {
  std::vector<kernel::Offset3D> inVolume;
  for (kernel::Offset2D const& offset : offsets) inVolume.push_back({offset.col, offset.row, 0});
  return makeListStages(image, std::move(inVolume));
}

struct Disk2d {
  static bool isIdle(morphology::RadiusMorphology const* algorithm) {
    return algorithm->shapeMode == morphology::cFastShape && algorithm->radius == 0;
  }
  static PlanCache::Key getKey(morphology::RadiusMorphology const* algorithm) {
    return {algorithm->shapeMode, algorithm->radius};
  }
  static Stages makeStages(morphology::RadiusMorphology const* algorithm, PlanImage const& image) {
    unsigned int const radius = algorithm->radius;
    if (algorithm->shapeMode != morphology::cFastShape)
      return makeListStages(image, kernel::generateDiskOffset2DCollection(radius));
    return makeOctagon(image, radius / 2, radius - radius / 2);
  }
};

struct Ball3d : Disk2d {
  static Stages makeStages(morphology::RadiusMorphology const* algorithm, PlanImage const& image) {
    unsigned int const radius = algorithm->radius;
    if (algorithm->shapeMode != morphology::cFastShape)
      return makeListStages(image, kernel::generateSphereOffset3DCollection(radius));
    auto const nbFaces = static_cast<unsigned int>(0.6 * radius), nbEdges = static_cast<unsigned int>(radius * 0.3);
    return makePolyhedron(image, nbFaces, nbEdges, radius - (nbFaces + nbEdges));
  }
};

struct NeverIdle {
  template <class Algo>
  static bool isIdle(Algo const*) {
    return false;
  }
};

// A real as a number of a key.
long toKey(double value) {
  long bits;
  std::memcpy(&bits, &value, sizeof(bits));
  return bits;
}

struct Line2d : NeverIdle {
  template <class Algo>
  static PlanCache::Key getKey(Algo const* algorithm) {
    return {toKey(algorithm->lineAngle), algorithm->lineSize};
  }
  template <class Algo>
  static Stages makeStages(Algo const* algorithm, PlanImage const& image) {
    return makeListStages(image, kernel::generateLineOffset2DCollectionWithConstNumOfPixels(
                                     algorithm->lineAngle, algorithm->lineSize.get(), true));
  }
};

// The generators take the elevation first.
struct Line3d : NeverIdle {
  template <class Algo>
  static PlanCache::Key getKey(Algo const* algorithm) {
    return {toKey(algorithm->firstAngle), toKey(algorithm->secondAngle), algorithm->lineSize};
  }
  template <class Algo>
  static Stages makeStages(Algo const* algorithm, PlanImage const& image) {
    return makeListStages(image, kernel::generateLineOffset3DCollectionWithConstNumOfPixels(
                                     algorithm->secondAngle, algorithm->firstAngle, algorithm->lineSize.get(), true));
  }
};

struct Disk3d : NeverIdle {
  template <class Algo>
  static PlanCache::Key getKey(Algo const* algorithm) {
    return {toKey(algorithm->firstAngle), toKey(algorithm->secondAngle), algorithm->radius};
  }
  template <class Algo>
  static Stages makeStages(Algo const* algorithm, PlanImage const& image) {
    return makeListStages(image, kernel::generateDiskOffset3DCollection(algorithm->secondAngle, algorithm->firstAngle,
                                                                        algorithm->radius.get()));
  }
};

struct AnyElement3d : NeverIdle {
  template <class Algo>
  static PlanCache::Key getKey(Algo const* algorithm) {
    PlanCache::Key key;
    for (kernel::Offset3D const& offset : algorithm->element.get().getOffsets())
      key.insert(key.end(), {offset.col, offset.row, offset.plan});
    return key;
  }
  template <class Algo>
  static Stages makeStages(Algo const* algorithm, PlanImage const& image) {
    return makeListStages(image, algorithm->element.get().getOffsets());
  }
};

template <class Algo, class Element>
using Dilations = helper::AutoRegisterRunnable<Algo, WideRunner<Algo, Element, Polarities::cDilation>>;
template <class Algo, class Element>
using Erosions = helper::AutoRegisterRunnable<Algo, WideRunner<Algo, Element, Polarities::cErosion>>;

Dilations<morphology::DilationBall3d, Ball3d> g_autoRegisterRunnableDilationBall3dWide;
Dilations<morphology::DilationDisk2d, Disk2d> g_autoRegisterRunnableDilationDisk2dWide;
Dilations<morphology::DilationDisk3d, Disk3d> g_autoRegisterRunnableDilationDisk3dWide;
Dilations<morphology::DilationElement3d, AnyElement3d> g_autoRegisterRunnableDilationElement3dWide;
Dilations<morphology::DilationLine2d, Line2d> g_autoRegisterRunnableDilationLine2dWide;
Dilations<morphology::DilationLine3d, Line3d> g_autoRegisterRunnableDilationLine3dWide;
Erosions<morphology::ErosionBall3d, Ball3d> g_autoRegisterRunnableErosionBall3dWide;
Erosions<morphology::ErosionDisk2d, Disk2d> g_autoRegisterRunnableErosionDisk2dWide;
Erosions<morphology::ErosionDisk3d, Disk3d> g_autoRegisterRunnableErosionDisk3dWide;
Erosions<morphology::ErosionElement3d, AnyElement3d> g_autoRegisterRunnableErosionElement3dWide;
Erosions<morphology::ErosionLine2d, Line2d> g_autoRegisterRunnableErosionLine2dWide;
Erosions<morphology::ErosionLine3d, Line3d> g_autoRegisterRunnableErosionLine3dWide;

}  // namespace
}  // namespace pxl::wide
