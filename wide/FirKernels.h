#pragma once

#include "wide/RowKernels.h"

/** Weighted sums of rows in float or double, for one voxel type and set of instructions. */
namespace pxl::wide {

/** Taps that fill a box, in the order of plans, rows and columns. */
struct FirBox {
  long nbPlans;
  long nbRows;
  long nbCols;
  void const* coefficients;
};

/**
 * Rows of numbers are float or double. Each product and each sum is rounded, and a sum begins with its first product,
 * as in the other runner. Sums are computed in whole vectors: where there are `nbLanes` columns, the last vector of a
 * row ends with it; else room for as many is read and written.
 */
struct FirKernels {
  using Row = char const*;

  /** Numbers of voxels. */
  void (*load)(Row voxels, char* numbers, long count);
  /** Voxels of numbers: rounded half to even and saturated, 0 for NaN. */
  void (*store)(Row numbers, char* voxels, long count);
  /** Columns begin to end: out = sum of taps[i] * coefficients[i]. */
  void (*sumTaps)(Row const* taps, void const* coefficients, long nbTaps, char* out, long begin, long end);
  /**
   * The sums of 2 to 4 adjacent rows of results, as many as the box has rows or less. For each plan of the box there
   * are the nbRows + nbResults - 1 rows that they read, from the column of the first tap on. `begin` is a multiple of
   * nbLanes.
   *
   * @param isPastCaches  writes to memory without reading what is there, if the rows are aligned; flush() is to be
   *                      called before another thread reads them
   */
  void (*sumBox)(FirBox const& box, Row const* rows, char* const* outs, int nbResults, long begin, long end,
                 bool isPastCaches);
  void (*flush)();

  long voxelSize;   ///< bytes
  long numberSize;  ///< bytes
  long nbLanes;     ///< numbers of a vector
};

/** Null for a type without kernels. */
FirKernels const* getFirKernels(Targets target, VoxelTypes type);

}  // namespace pxl::wide
