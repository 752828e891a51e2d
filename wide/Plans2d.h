#pragma once

#include "wide/TileCut.h"

/** The programs of the iterated and fast elements in planes. */
namespace pxl::wide {

/** What plans depend on beside the element. */
struct PlanImage {
  long sizes[3];  ///< columns, rows, plans
  VoxelTypes type;

  bool isReal() const { return type == cFloat || type == cDouble; }
};

/** `nbSquares` times a voxel and its eight neighbours, then `nbCrosses` times a voxel and its four neighbours. */
ElementPrograms makeOctagon(PlanImage const& image, unsigned int nbSquares, unsigned int nbCrosses);

}  // namespace pxl::wide
