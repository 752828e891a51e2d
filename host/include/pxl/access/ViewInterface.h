#pragma once

#include "pxl/Export.h"
#include "pxl/Noncopyable.h"

namespace pxl::access {

/**
 * An image, or a window of one, as rows of voxels of type T, whatever the type and the place of the stored voxels. It
 * is the identity of an image: views of the same voxels as the same T share one object. Positions are relative to the
 * window and must be inside it. Thread-safe as long as no thread writes a voxel that another one uses.
 */
template <class T>
class PXL_API ViewInterface : private Noncopyable {
 public:
  virtual ~ViewInterface();

  /**
   * Reads `count` voxels of one row, from column `col` on.
   * @throws RuntimeError the storage fails
   */
  virtual void readRow(T* voxels, long count, long col, long row, long plan, long sequence,
                       long spectralSeries) const = 0;

  /**
   * Writes `count` voxels of one row, from column `col` on.
   * @return false if the storage fails or is read-only
   */
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
