#pragma once

#include <vector>

#include "pxl/kernel/Offsets.h"
#include "wide/Plans2d.h"

/** The programs of elements that are lists of voxels. */
namespace pxl::wide {

/** A list in a plane or a volume, in the order in which the other runner folds it. It must not be empty. */
ElementPrograms makeListPrograms(PlanImage const& image, bool isVolume, std::vector<kernel::Offset3D> offsets);

/** The voxels of a list, each once, in the order plan, row, column; isBeyond: others lead out of the image. */
struct ElementVoxels {
  std::vector<kernel::Offset3D> voxels;
  bool isVolume;
  bool isBeyond;
  WindowLimits limits;  ///< of programs
};

/** An estimate of the time of a program for a voxel, to choose by. */
double estimateCost(FoldProgram const& program);

// Programs for any list. All give the same values but for reals where the order matters.

/** Horizontal runs as two windows of a power of two, which all runs share; or each different run made once. */
FoldProgram makeRunsProgram(ElementVoxels const& element, bool isEachRunMade);
/** Rows of one width first, then widened from the outside in; no nodes for rows that aren't runs around 0. */
FoldProgram makeNestedProgram(ElementVoxels const& element);
/** Columns of one height first, straight under each other, then a fold along the rows; in a plane. */
FoldProgram makeColumnsProgram(ElementVoxels const& element);
/** A part and the same part moved, again and again. */
FoldProgram makePairsProgram(ElementVoxels const& element);
/** A full box by a window for each dimension; no nodes for other lists. */
FoldProgram makeBoxProgram(ElementVoxels const& element);

}  // namespace pxl::wide
