#include <algorithm>

#include "pxl/AlgoInfo.h"
#include "pxl/filtering/linear/FiniteImpulseResponseFilter.h"
#include "pxl/kernel/StructuringElements.h"
#include "pxl/morphology/Morphology.h"

// How far each operator's result depends on surrounding voxels.

namespace pxl {
namespace {

using kernel::Margins;

// No image has more voxels in one dimension; sums of a few of them don't overflow.
constexpr unsigned long cWholeDimension = 1UL << 31;

unsigned long toReach(long extent) { return static_cast<unsigned long>(std::max(0L, extent)); }

Margins makeEqualMargins(unsigned long reach, bool isInVolume) {
  unsigned long const plans = isInVolume ? reach : 0;
  return {reach, reach, reach, reach, plans, plans};
}

Margins findMargins(std::vector<kernel::Offset2D> const& offsets) {
  long minCol, maxCol, minRow, maxRow;
  computeExtrema(offsets, minCol, maxCol, minRow, maxRow);
  return {toReach(-minCol), toReach(maxCol), toReach(-minRow), toReach(maxRow), 0, 0};
}

Margins findMargins(std::vector<kernel::Offset3D> const& offsets) {
  long minCol, maxCol, minRow, maxRow, minPlan, maxPlan;
  computeExtrema(offsets, minCol, maxCol, minRow, maxRow, minPlan, maxPlan);
  return {toReach(-minCol), toReach(maxCol), toReach(-minRow), toReach(maxRow), toReach(-minPlan), toReach(maxPlan)};
}

// A tap that reaches beyond the edge of the image is mirrored, and so reads as far on the other side of the voxel.
Margins mirror(Margins const& m) {
  unsigned long const cols = std::max(m.colsBefore, m.colsAfter);
  unsigned long const rows = std::max(m.rowsBefore, m.rowsAfter);
  unsigned long const plans = std::max(m.plansBefore, m.plansAfter);
  return {cols, cols, rows, rows, plans, plans};
}

bool isInVolume(BaseAlgorithm const& algorithm) {
  return algorithm.getAlgoInfo()->getWorkingDimension() == WorkingDimension::cVolume;
}

}  // namespace

Margins BaseAlgorithm::getMargins() const {
  bool const isAlone = getAlgoInfo()->getWorkingDimension() == WorkingDimension::cVoxelByVoxel;
  return isAlone ? Margins() : makeEqualMargins(cWholeDimension, isInVolume(*this));
}

unsigned long BaseAlgorithm::getMaxNumOfWrittenPlans() const { return cWholeDimension; }

namespace filtering::linear {

Margins FiniteImpulseResponseFilter2D::getMargins() const { return mirror(findMargins(kernel.get().getOffsets())); }
unsigned long FiniteImpulseResponseFilter2D::getMaxNumOfWrittenPlans() const { return 1; }
Margins FiniteImpulseResponseFilter3D::getMargins() const { return mirror(findMargins(kernel.get().getOffsets())); }

}  // namespace filtering::linear

namespace morphology {

Margins IteratedMorphology::getMargins() const { return makeEqualMargins(numberOfIterations, isInVolume(*this)); }

// The fast shape takes `radius` passes, so both shapes reach `radius` voxels.
Margins RadiusMorphology::getMargins() const { return makeEqualMargins(radius, isInVolume(*this)); }

Margins OrientedDiskMorphology::getMargins() const {
  return findMargins(kernel::generateDiskOffset3DCollection(secondAngle, firstAngle, radius.get()));
}

Margins Line2dMorphology::getMargins() const {
  return findMargins(kernel::generateLineOffset2DCollectionWithConstNumOfPixels(lineAngle, lineSize.get(), true));
}

Margins Line3dMorphology::getMargins() const {
  return findMargins(
      kernel::generateLineOffset3DCollectionWithConstNumOfPixels(secondAngle, firstAngle, lineSize.get(), true));
}

}  // namespace morphology
}  // namespace pxl
