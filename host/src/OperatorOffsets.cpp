#include <algorithm>
#include <array>

#include "Raise.h"
#include "pxl/AlgoInfo.h"
#include "pxl/filtering/linear/FiniteImpulseResponseFilter.h"
#include "pxl/kernel/StructuringElement.h"
#include "pxl/morphology/ElementMorphology.h"
#include "pxl/morphology/Morphology.h"

// Which neighbours each operator reads.

namespace pxl {
namespace {

using Offsets = std::vector<kernel::Offset3D>;
using kernel::ElementModes;
using kernel::StructuringElement;

// Several taps of a kernel may have the same offset.
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

// The neighbourhood of two operators, one after the other.
Offsets addEach(Offsets const& first, kernel::Margins const& reach, Offsets const& second) {
  constexpr double cMaxPairs = 1e9;  // a second or so
  if (static_cast<double>(first.size()) * static_cast<double>(second.size()) > cMaxPairs)
    PXL_RAISE(InvalidCall, "there are too many neighbours to list");
  unsigned long const cols = reach.colsBefore + reach.colsAfter + 1, rows = reach.rowsBefore + reach.rowsAfter + 1,
                      plans = reach.plansBefore + reach.plansAfter + 1;
  std::vector<bool> isReached(cols * rows * plans);
  auto const toIndex = [](long offset, unsigned long before) {
    return static_cast<unsigned long>(offset + static_cast<long>(before));
  };
  for (kernel::Offset3D const& a : first)
    for (kernel::Offset3D const& b : second)
      isReached[(toIndex(a.plan + b.plan, reach.plansBefore) * rows + toIndex(a.row + b.row, reach.rowsBefore)) *
                    cols +
                toIndex(a.col + b.col, reach.colsBefore)] = true;
  Offsets offsets;
  for (unsigned long i = 0; i < isReached.size(); ++i)
    if (isReached[i])
      offsets.push_back({static_cast<long>(i % cols) - static_cast<long>(reach.colsBefore),
                         static_cast<long>(i / cols % rows) - static_cast<long>(reach.rowsBefore),
                         static_cast<long>(i / (cols * rows)) - static_cast<long>(reach.plansBefore)});
  return offsets;
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

Offsets ListedMorphology::getOffsets() const { return sortUnique(element.get().getOffsets()); }

Offsets ComposedMorphology::getOffsets() const {
  StructuringElement const given = element;
  if (m_nbPasses == 1) return sortUnique(given.getOffsets());
  return addEach(given.getOffsets(), getMargins(), given.getMirrored().getOffsets());
}

}  // namespace morphology
}  // namespace pxl
