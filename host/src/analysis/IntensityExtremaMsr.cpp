#include "pxl/analysis/IntensityExtremaMsr.h"

#include <utility>

namespace pxl::analysis {

IntensityExtremaMsr::IntensityExtremaMsr()
    : m_ownMinimum(std::make_unique<MeasureArray>()),
      m_ownMaximum(std::make_unique<MeasureArray>()),
      minimum(*m_ownMinimum),
      maximum(*m_ownMaximum) {}

IntensityExtremaMsr::IntensityExtremaMsr(MeasureArray& minimumArray, MeasureArray& maximumArray)
    : minimum(minimumArray), maximum(maximumArray) {}

IntensityExtremaMsr::~IntensityExtremaMsr() = default;

std::vector<Measure::Entry> IntensityExtremaMsr::getEntries() const {
  return {{"minimum", &minimum}, {"maximum", &maximum}};
}

void IntensityExtremaMsr::scale(double slope, double intercept) {
  auto const at = [](MeasureArray const& array, unsigned long i0, unsigned long i1, unsigned long i2) -> double& {
    return array.values[i0 + i1 * array.strides[1] + i2 * array.strides[2]];
  };
  for (unsigned long i0 = 0; i0 < minimum.getSize(0); ++i0)
    for (unsigned long i1 = 0; i1 < minimum.getSize(1); ++i1)
      for (unsigned long i2 = 0; i2 < minimum.getSize(2); ++i2) {
        double& low = at(minimum, i0, i1, i2);
        double& high = at(maximum, i0, i1, i2);
        low = slope * low + intercept;
        high = slope * high + intercept;
        if (slope < 0) std::swap(low, high);
      }
}

}  // namespace pxl::analysis
