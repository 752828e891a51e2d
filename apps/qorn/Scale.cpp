#include "qorn/Scale.h"

#include <utility>

#include "qorn/NumberText.h"

namespace qorn {

using pxl::analysis::MeasureArray;

void applyScale(io::ValueScale const& scale, pxl::analysis::IntensityExtremaMsr& measure) {
  MeasureArray& minimum = measure.minimum;
  MeasureArray& maximum = measure.maximum;
  double const slope = scale.slope;
  double const intercept = scale.intercept;
  auto const at = [](MeasureArray const& array, unsigned long i0, unsigned long i1, unsigned long i2) -> double& {
    return array.values[i0 + i1 * array.strides[1] + i2 * array.strides[2]];
  };
  for (unsigned long i0 = 0; i0 < minimum.getSize(0); ++i0) {
    for (unsigned long i1 = 0; i1 < minimum.getSize(1); ++i1) {
      for (unsigned long i2 = 0; i2 < minimum.getSize(2); ++i2) {
        double& low = at(minimum, i0, i1, i2);
        double& high = at(maximum, i0, i1, i2);
        low = slope * low + intercept;
        high = slope * high + intercept;
        if (slope < 0) std::swap(low, high);
      }
    }
  }
}

std::string describeScale(io::ValueScale const& scale) {
  return "values are scaled by " + toText(scale.slope) + " and shifted by " + toText(scale.intercept) +
         " as the file says: slope * voxel + intercept, not voxels as they are stored";
}

bool isReversedBy(io::ValueScale const& scale, pxl::AlgoInfo const& record) {
  return scale.slope < 0 && record.getSubject() == std::string("morphology");
}

}  // namespace qorn
