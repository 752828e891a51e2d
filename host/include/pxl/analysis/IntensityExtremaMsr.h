#pragma once

#include <memory>
#include <vector>

#include "pxl/Export.h"
#include "pxl/Forward.h"
#include "pxl/analysis/Measure.h"

namespace pxl::analysis {

/** The results of IntensityExtrema. */
class PXL_API IntensityExtremaMsr final : public Measure {
 private:
  std::unique_ptr<MeasureArray> m_ownMinimum;
  std::unique_ptr<MeasureArray> m_ownMaximum;

 public:
  /** Owns its arrays. */
  IntensityExtremaMsr();
  /** Uses arrays of the caller, which must outlive the measure. */
  IntensityExtremaMsr(MeasureArray& minimumArray, MeasureArray& maximumArray);
  ~IntensityExtremaMsr() override;

  /** "minimum" and "maximum". */
  std::vector<Entry> getEntries() const override;
  /** A negative slope swaps smallest and largest. */
  void scale(double slope, double intercept) override;

  MeasureArray& minimum;
  MeasureArray& maximum;
};

}  // namespace pxl::analysis
