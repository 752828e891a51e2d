#pragma once

#include "wide/PastCaches.h"
#include "wide/TileCut.h"

/** The programs of the iterated and fast elements in planes. */
namespace pxl::wide {

/** What plans depend on beside the element. */
struct PlanImage {
  long sizes[3];  ///< columns, rows, plans
  VoxelTypes type;
  WindowLimits limits;  ///< of the kernels

  unsigned long countVoxels() const { return static_cast<unsigned long>(sizes[0] * sizes[1] * sizes[2]); }
  bool isReal() const { return type == cFloat || type == cDouble; }
  /**
   * Whether folds with neighbours along the row read the image rather than a copy of it. Time without / with the
   * copy: 0.7 to 0.95; for bytes in the caches 0.75 to 0.95, and 1.1 to 1.4 beyond them.
   */
  bool isReadWithoutCopy() const { return helper::getSizeOf(type) > 1 || !isLargerThanCaches(countVoxels()); }
};

/** Programs of reals for the case that the order matters have nodes for each pass: up to so many. */
constexpr unsigned int cMaxNbOrderedPasses = 128;

/** Adds the stages of `nbPasses` passes, of which make(count) makes the programs of up to `maxNbPasses`. */
template <class Make>
void addParts(Stages& stages, unsigned int nbPasses, unsigned int maxNbPasses, Make const& make) {
  if (nbPasses == 0) return;
  unsigned int const nbParts = nbPasses / maxNbPasses + (nbPasses % maxNbPasses != 0);
  unsigned int const size = nbPasses / nbParts + (nbPasses % nbParts != 0), rest = nbPasses % size;
  stages.push_back({make(size), nbPasses / size});
  if (rest != 0) stages.push_back({make(rest), 1});
}

/** `nbSquares` times a voxel and its eight neighbours, then `nbCrosses` times a voxel and its four neighbours. */
Stages makeOctagon(PlanImage const& image, unsigned int nbSquares, unsigned int nbCrosses);

}  // namespace pxl::wide
