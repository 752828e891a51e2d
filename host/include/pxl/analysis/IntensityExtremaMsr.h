#pragma once

#include <memory>
#include <vector>

#include "pxl/Export.h"
#include "pxl/Forward.h"
#include "pxl/analysis/Measure.h"

namespace pxl::analysis {

/** What IntensityExtrema measures. */
class PXL_API IntensityExtremaMsr final : public Measure {
 private:
  std::unique_ptr<MeasureArray> m_ownMinimum;
  std::unique_ptr<MeasureArray> m_ownMaximum;

 public:
  /** Arrays of its own. */
  IntensityExtremaMsr();
  /** Arrays of the caller, which must outlive the measure. */
  IntensityExtremaMsr(MeasureArray& minimumArray, MeasureArray& maximumArray);
  ~IntensityExtremaMsr() override;

  /** "minimum" and "maximum". */
  std::vector<Entry> getEntries() const override;
  /** A negative slope exchanges smallest and largest. */
  void scale(double slope, double intercept) override;

  MeasureArray& minimum;
  MeasureArray& maximum;
};

}  // namespace pxl::analysis
