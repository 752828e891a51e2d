#pragma once

#include <memory>

#include "pxl/Export.h"
#include "pxl/Noncopyable.h"
#include "pxl/access/ViewInterface.h"

namespace pxl::access {

/** The rule for reads beyond the edge of an image. Immutable and thread-safe. */
template <class T>
class PXL_API BorderCondition : private Noncopyable {
 public:
  /**
   * Fills [first, last) with the voxels of one row from column `col` on. Each coordinate may be negative or beyond
   * the image; the rule supplies those voxels. Runs of voxels inside the image are copied at once.
   * @return true
   * @throws RuntimeError the storage fails
   */
  virtual bool readRowAt(ViewInterface<T> const* viewInterface, T* first, T* last, long col, long row, long plan,
                         long sequence, long spectralSeries) const = 0;
  virtual ~BorderCondition();

 protected:
  BorderCondition();
};

/** Voxels beyond the edge have a fixed value. */
template <class T>
class PXL_API FixedBorderCondition {
 public:
  static std::shared_ptr<BorderCondition<T>> New(T value);
};

/** Voxels beyond the edge repeat the nearest voxel: each coordinate is clamped independently. */
template <class T>
class PXL_API ContinueBorderCondition {
 public:
  static std::shared_ptr<BorderCondition<T>> New();
};

/**
 * The image is reflected at its edges without repeating the edge voxel, at any distance: the period is 2(n-1) in a
 * dimension of size n. A dimension of size 1 repeats its voxel. For float and double only.
 */
template <class T>
class MirrorBorderCondition;

template <>
class PXL_API MirrorBorderCondition<float> {
 public:
  static std::shared_ptr<BorderCondition<float>> New();
};

template <>
class PXL_API MirrorBorderCondition<double> {
 public:
  static std::shared_ptr<BorderCondition<double>> New();
};

}  // namespace pxl::access
