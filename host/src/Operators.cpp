#include <algorithm>
#include <limits>

#include "ElementLimits.h"
#include "OperatorRecord.h"
#include "kernel/RoundElements.h"
#include "pxl/ImageModel.h"
#include "pxl/Limits.h"
#include "pxl/analysis/IntensityExtrema.h"
#include "pxl/filtering/linear/FiniteImpulseResponseFilter.h"
#include "pxl/morphology/ElementMorphology.h"
#include "pxl/morphology/Morphology.h"
#include "pxl/point_operations/LogicalOperation.h"

// The operators of the host: their records, constructors and destructors. Properties are in their classes.

namespace pxl {

constexpr WorkingDimension cPlanByPlan = WorkingDimension::cPlanByPlan;
constexpr WorkingDimension cVolume = WorkingDimension::cVolume;
constexpr WorkingDimension cVoxelByVoxel = WorkingDimension::cVoxelByVoxel;

namespace analysis {
IntensityExtrema::IntensityExtrema() = default;
RegionUses IntensityExtrema::getRegionUse() const { return RegionUses::cWholeImage; }
PXL_RECORD(IntensityExtrema, "analysis", "smallest and largest voxel of an image or of its parts", cVoxelByVoxel)
}  // namespace analysis

namespace filtering::linear {
FiniteImpulseResponseFilter2D::FiniteImpulseResponseFilter2D() = default;
PXL_RECORD(FiniteImpulseResponseFilter2D, "filtering", "correlation of plan 0 with a 2D kernel, mirrored edges",
           cPlanByPlan)
String FiniteImpulseResponseFilter2D::getWarning() const {
  ImageModel const* const image = outputImage.get();
  return image && image->getNumOf(cPlans) > 1 ? "plans above the first are left unchanged" : "";
}
RegionUses FiniteImpulseResponseFilter2D::getRegionUse() const { return RegionUses::cAnyRectangle; }
FiniteImpulseResponseFilter3D::FiniteImpulseResponseFilter3D() = default;
PXL_RECORD(FiniteImpulseResponseFilter3D, "filtering", "correlation with a 3D kernel, mirrored edges", cVolume)
}  // namespace filtering::linear

namespace morphology {
namespace {

constexpr double cMaxElement = limits::cMaxNbOffsets;  // no larger list is made

// A long line keeps all rows or plans that it spans in memory, each longer than the line.
double estimateLineSteps(unsigned int size, unsigned int maxSize) {
  bool const isTooLong = size > maxSize && size <= cMaxElement;
  return isTooLong ? std::numeric_limits<double>::infinity() : std::min<double>(cMaxElement, size);
}

}  // namespace

IteratedMorphology::IteratedMorphology(int defaultNeighborhood, Choices const& neighborhoods)
    : neighborhood(*this, "neighborhood", defaultNeighborhood, neighborhoods, "which neighbours take part") {}
IteratedMorphology::~IteratedMorphology() = default;
String IteratedMorphology::getWarning() const {
  return numberOfIterations == 0U ? "with 0 iterations the output image is left unchanged" : "";
}
// Recursive filters use only the sizes of a region, and the temporary image has these sizes.
RegionUses IteratedMorphology::getRegionUse() const {
  return numberOfIterations > 1U ? RegionUses::cWholeSlices : RegionUses::cFromOrigin;
}
double IteratedMorphology::estimateSteps() const { return numberOfIterations; }
RadiusMorphology::RadiusMorphology() = default;
RadiusMorphology::~RadiusMorphology() = default;
String RadiusMorphology::getWarning() const {
  return shapeMode == cFastShape && radius == 0U ? "the fast shape with radius 0 leaves the output image unchanged"
                                                 : "";
}
String RadiusMorphology::validate() const {
  if (radius <= limits::cMaxSize) return BaseAlgorithm::validate();
  if (shapeMode == cFastShape) return "a radius is at most " + std::to_string(limits::cMaxSize);
  if (getAlgoInfo()->getWorkingDimension() == cVolume)
    return kernel::explainRadius(radius.get(), kernel::estimateBall(radius.get()));
  return kernel::explainRadius(radius.get(), kernel::estimateDisk(radius.get()));
}
RegionUses RadiusMorphology::getRegionUse() const {
  return shapeMode == cFastShape ? RegionUses::cWholeImage : RegionUses::cFromOrigin;
}
double RadiusMorphology::estimateSteps() const {
  double const r = radius;
  if (shapeMode == cFastShape) return r;
  bool const isBall = getAlgoInfo()->getWorkingDimension() == cVolume;
  return std::min(cMaxElement, isBall ? 5 * r * r * r : 4 * r * r);
}
OrientedDiskMorphology::OrientedDiskMorphology() = default;
OrientedDiskMorphology::~OrientedDiskMorphology() = default;
String OrientedDiskMorphology::validate() const {
  if (radius <= limits::cMaxSize || !BaseAlgorithm::validate().empty()) return BaseAlgorithm::validate();
  return kernel::explainRadius(radius.get(), kernel::estimateOrientedDisk(secondAngle, firstAngle, radius.get()));
}
RegionUses OrientedDiskMorphology::getRegionUse() const { return RegionUses::cFromOrigin; }
double OrientedDiskMorphology::estimateSteps() const {
  double const r = radius;
  return std::min(cMaxElement, 4 * r * r);
}
Line2dMorphology::Line2dMorphology() = default;
RegionUses Line2dMorphology::getRegionUse() const { return RegionUses::cFromOrigin; }
double Line2dMorphology::estimateSteps() const { return estimateLineSteps(lineSize, 4096); }
Line2dMorphology::~Line2dMorphology() = default;
Line3dMorphology::Line3dMorphology() = default;
RegionUses Line3dMorphology::getRegionUse() const { return RegionUses::cFromOrigin; }
double Line3dMorphology::estimateSteps() const { return estimateLineSteps(lineSize, 256); }
Line3dMorphology::~Line3dMorphology() = default;

Dilation2d::Dilation2d() : IteratedMorphology(cSquare, cNeighborhood2dNames) {}
PXL_RECORD(Dilation2d, "morphology", "largest voxel among the neighbours, plan by plan", cPlanByPlan)
Dilation3d::Dilation3d() : IteratedMorphology(cCube, cNeighborhood3dNames) {}
PXL_RECORD(Dilation3d, "morphology", "largest voxel among the neighbours in the volume", cVolume)
DilationBall3d::DilationBall3d() = default;
PXL_RECORD(DilationBall3d, "morphology", "largest voxel of a ball", cVolume)
DilationDisk2d::DilationDisk2d() = default;
PXL_RECORD(DilationDisk2d, "morphology", "largest voxel of a disk, plan by plan", cPlanByPlan)
DilationDisk3d::DilationDisk3d() = default;
PXL_RECORD(DilationDisk3d, "morphology", "largest voxel of a flat disk of any orientation in the volume", cVolume)
DilationLine2d::DilationLine2d() = default;
PXL_RECORD(DilationLine2d, "morphology", "largest voxel of a line, plan by plan", cPlanByPlan)
DilationLine3d::DilationLine3d() = default;
PXL_RECORD(DilationLine3d, "morphology", "largest voxel of a line in the volume", cVolume)
Erosion2d::Erosion2d() : IteratedMorphology(cSquare, cNeighborhood2dNames) {}
PXL_RECORD(Erosion2d, "morphology", "smallest voxel among the neighbours, plan by plan", cPlanByPlan)
Erosion3d::Erosion3d() : IteratedMorphology(cCube, cNeighborhood3dNames) {}
PXL_RECORD(Erosion3d, "morphology", "smallest voxel among the neighbours in the volume", cVolume)
ErosionBall3d::ErosionBall3d() = default;
PXL_RECORD(ErosionBall3d, "morphology", "smallest voxel of a ball", cVolume)
ErosionDisk2d::ErosionDisk2d() = default;
PXL_RECORD(ErosionDisk2d, "morphology", "smallest voxel of a disk, plan by plan", cPlanByPlan)
ErosionDisk3d::ErosionDisk3d() = default;
PXL_RECORD(ErosionDisk3d, "morphology", "smallest voxel of a flat disk of any orientation in the volume", cVolume)
ErosionLine2d::ErosionLine2d() = default;
PXL_RECORD(ErosionLine2d, "morphology", "smallest voxel of a line, plan by plan", cPlanByPlan)
ErosionLine3d::ErosionLine3d() = default;
PXL_RECORD(ErosionLine3d, "morphology", "smallest voxel of a line in the volume", cVolume)
}  // namespace morphology

namespace point_operations {
LogicalOperationWithImage::LogicalOperationWithImage() = default;
PXL_RECORD(LogicalOperationWithImage, "point operations", "bitwise combination of two integer images", cVoxelByVoxel)
LogicalOperationWithValue::LogicalOperationWithValue() = default;
PXL_RECORD(LogicalOperationWithValue, "point operations", "bitwise combination of an integer image and a value",
           cVoxelByVoxel)
}  // namespace point_operations

namespace {

// Those of the first plug-in in the order of their runners' names, then the others.
template <class... Algos>
std::vector<AlgoInfo*> collectRecords() {
  return {Algos::getClassInfo()...};
}

}  // namespace

std::vector<AlgoInfo*> const& AlgoInfo::getAll() {
  using namespace analysis;
  using namespace filtering::linear;
  using namespace morphology;
  using namespace point_operations;
  static auto const* const records = new std::vector<AlgoInfo*>(
      collectRecords<IntensityExtrema, FiniteImpulseResponseFilter2D, FiniteImpulseResponseFilter3D, Dilation2d,
                     Dilation3d, DilationBall3d, DilationDisk2d, DilationDisk3d, DilationLine2d, DilationLine3d,
                     Erosion2d, Erosion3d, ErosionBall3d, ErosionDisk2d, ErosionDisk3d, ErosionLine2d, ErosionLine3d,
                     LogicalOperationWithImage, LogicalOperationWithValue, DilationElement3d, ErosionElement3d,
                     Dilate, Erode, Open, Close, WhiteTopHat, BlackTopHat, Gradient>());
  return *records;
}

}  // namespace pxl
