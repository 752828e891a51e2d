#pragma once

#include "wide/FoldProgram.h"

/** Segments as nodes of programs. */
namespace pxl::wide {

/** The direction of a window. */
struct Direction {
  long dx;
  long dy;
  long dz;
};

/** What the rows of a program are: those of planes may be folded several at once. */
enum class Dimensions { cPlane, cVolume };

/**
 * Adds nodes until one has at p the fold of `node` at p, p + u, ..., p + (length - 1) u, and returns it; in about
 * log(length) folds, or in three operations for any length.
 *
 * @param known  `node` is such a window of this length already
 */
int addWindow(FoldProgram& program, int node, long length, Direction u, Dimensions dimensions, long known = 1);

/** A window of `length` rows from dy on, straight from the image, in a plane. One of a single row is the image. */
int addImageRows(FoldProgram& program, long length, long dy);

}  // namespace pxl::wide
