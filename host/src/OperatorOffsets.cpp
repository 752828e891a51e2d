#include <algorithm>
#include <array>

#include "pxl/AlgoInfo.h"
#include "pxl/filtering/linear/FiniteImpulseResponseFilter.h"
#include "pxl/kernel/StructuringElement.h"
#include "pxl/morphology/Morphology.h"

// Which neighbours each operator looks at.

namespace pxl {
namespace {

using Offsets = std::vector<kernel::Offset3D>;
using kernel::ElementModes;
using kernel::StructuringElement;

// The taps of a kernel may name a voxel more than once.
Offsets sortUnique(Offsets offsets) {
  auto const toArray = [](kernel::Offset3D const& offset) {
    return std::array<long, 3>{offset.plan, offset.row, offset.col};
  };
  std::sort(offsets.begin(), offsets.end(),
            [&toArray](auto const& a, auto const& b) { return toArray(a) < toArray(b); });
  offsets.erase(std::unique(offsets.begin(), offsets.end()), offsets.end());
  return offsets;
}

bool isInVolume(BaseAlgorithm const& algorithm) {
  return algorithm.getAlgoInfo()->getWorkingDimension() == WorkingDimension::cVolume;
}

}  // namespace

Offsets BaseAlgorithm::getOffsets() const { return {{0, 0, 0}}; }

namespace filtering::linear {

Offsets FiniteImpulseResponseFilter2D::getOffsets() const {
  Offsets offsets;
  for (kernel::Offset2D const& tap : kernel.get().getOffsets()) offsets.push_back({tap.col, tap.row, 0});
  return sortUnique(std::move(offsets));
}

Offsets FiniteImpulseResponseFilter3D::getOffsets() const { return sortUnique(kernel.get().getOffsets()); }

}  // namespace filtering::linear

namespace morphology {

Offsets IteratedMorphology::getOffsets() const {
  if (numberOfIterations == 0U) return {};
  unsigned int nbNeighbours;
  if (isInVolume(*this))
    nbNeighbours = neighborhood == cFaces ? 6 : neighborhood == cEdges ? 18 : 26;
  else
    nbNeighbours = neighborhood == cCross ? 4 : 8;
  return StructuringElement::connectivity(nbNeighbours, numberOfIterations).getOffsets();
}

Offsets RadiusMorphology::getOffsets() const {
  if (shapeMode == cFastShape && radius == 0U) return {};
  ElementModes const mode = shapeMode == cFastShape ? ElementModes::cFast : ElementModes::cExact;
  auto const make = isInVolume(*this) ? StructuringElement::ball : StructuringElement::disk;
  return make(radius, mode).getOffsets();
}

Offsets OrientedDiskMorphology::getOffsets() const {
  return StructuringElement::disk3d(radius, firstAngle, secondAngle).getOffsets();
}

Offsets Line2dMorphology::getOffsets() const { return StructuringElement::line(lineSize, lineAngle).getOffsets(); }

Offsets Line3dMorphology::getOffsets() const {
  return StructuringElement::line3d(lineSize, firstAngle, secondAngle).getOffsets();
}

}  // namespace morphology
}  // namespace pxl
