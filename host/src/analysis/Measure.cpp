#include "pxl/analysis/Measure.h"

#include <limits>

#include "Raise.h"
#include "instrument/Instrument.h"

namespace pxl::analysis {

MeasureArray::MeasureArray() : values(nullptr), strides(m_strides), m_shape{0, 0, 0}, m_strides{1, 0, 0} {}
MeasureArray::~MeasureArray() = default;

void MeasureArray::resize(object_model::Tuple const& shape) {
  PXL_PROBE(onMeasureResize(this));
  unsigned long count = 1;
  if (shape.getSize() != 3) PXL_RAISE(InvalidCall, "a measure has three dimensions");
  for (unsigned long i = 0; i < 3; ++i)
    if (__builtin_mul_overflow(count, shape[i], &count))
      PXL_RAISE(InvalidCall, "a measure of this many cells is too large");
  allocate(shape, shape[0], shape[0] * shape[1], count);
}

void MeasureArray::allocate(object_model::Tuple const& shape, unsigned long stride1, unsigned long stride2,
                            unsigned long count) {
  m_values.assign(count, std::numeric_limits<double>::quiet_NaN());
  for (unsigned long i = 0; i < 3; ++i) m_shape[i] = shape[i];
  m_strides[1] = stride1;
  m_strides[2] = stride2;
  values = m_values.data();
}

unsigned long MeasureArray::getSize(unsigned int dimension) const { return m_shape[dimension]; }

double MeasureArray::getValue(unsigned long i0, unsigned long i1, unsigned long i2) const {
  return values[i0 + strides[1] * i1 + strides[2] * i2];
}

Measure::Measure() = default;
Measure::~Measure() = default;

}  // namespace pxl::analysis
