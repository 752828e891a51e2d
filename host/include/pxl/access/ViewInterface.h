#pragma once

#include "pxl/Export.h"
#include "pxl/Noncopyable.h"

namespace pxl::access {

/**
 * An image, or a window of one, as rows of voxels of type T, whatever type and place the voxels really have. It is
 * the identity of an image: views of the same voxels as the same T share one object. Positions are those of the
 * window and always inside it. Thread-safe as long as no voxel is written by one thread and used by another.
 */
template <class T>
class PXL_API ViewInterface : private Noncopyable {
 public:
  virtual ~ViewInterface();

  /** Reads `count` voxels of one row, from column `col` onward. Throws RuntimeError when the storage fails. */
  virtual void readRow(T* voxels, long count, long col, long row, long plan, long sequence,
                       long spectralSeries) const = 0;

  /** Stores `count` voxels in one row, from column `col` onward; false when the storage fails or is read-only. */
  virtual bool writeRowAt(long count, T const* voxels, long col, long row, long plan, long sequence,
                          long spectralSeries) = 0;

  long const nbCols;
  long const nbRows;
  long const nbPlans;
  long const nbSequence;
  long const nbSpectralSeries;

 protected:
  /** Sizes in the order of Components. */
  explicit ViewInterface(unsigned long const (&sizes)[5]);
};

}  // namespace pxl::access
