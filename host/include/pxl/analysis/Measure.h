#pragma once

#include <vector>

#include "object_model/Tuple.h"
#include "pxl/Export.h"
#include "pxl/Noncopyable.h"

namespace pxl::analysis {

/**
 * A three-dimensional array of measured values. The cell (i0, i1, i2) is values[i0 + strides[1] * i1 +
 * strides[2] * i2].
 */
class PXL_API MeasureArray : private Noncopyable {
 public:
  MeasureArray();
  virtual ~MeasureArray();

  /**
   * Gives the array the shape of the tuple, packed, and fills it with NaN, so that a cell that is never set is
   * visible.
   * @throws InvalidCall the tuple doesn't have three dimensions, or the number of cells overflows
   */
  virtual void resize(object_model::Tuple const& shape);

  /** The length in dimension 0, 1 or 2; 0 before the first resize(). */
  unsigned long getSize(unsigned int dimension) const;
  double getValue(unsigned long i0, unsigned long i1, unsigned long i2) const;

  double* values;
  unsigned long* strides;

 protected:
  /** Allocates `count` cells of NaN for the given shape and strides. */
  void allocate(object_model::Tuple const& shape, unsigned long stride1, unsigned long stride2, unsigned long count);

 private:
  std::vector<double> m_values;
  unsigned long m_shape[3];
  unsigned long m_strides[3];
};

/** The results of a measuring operator, so that programs can print them without knowing the operator. */
class PXL_API Measure : private Noncopyable {
 public:
  virtual ~Measure();

  struct Entry {
    char const* name;  ///< such as "minimum"
    MeasureArray const* array;
  };
  /** The results, all of one shape. */
  virtual std::vector<Entry> getEntries() const = 0;

  /** Converts the results for voxel values v to those for slope * v + intercept. */
  virtual void scale(double slope, double intercept) = 0;

 protected:
  Measure();
};

}  // namespace pxl::analysis
