#include "qorn/Scale.h"

#include "qorn/NumberText.h"

namespace qorn {

std::string describeScale(io::ValueScale const& scale) {
  return "values are scaled by " + toText(scale.slope) + " and shifted by " + toText(scale.intercept) +
         " as the file says: slope * voxel + intercept, not voxels as they are stored";
}

bool isReversedBy(io::ValueScale const& scale, pxl::AlgoInfo const& record) {
  return scale.slope < 0 && record.getCategory() == std::string("morphology");
}

}  // namespace qorn
