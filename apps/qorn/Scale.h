#pragma once

#include <string>

#include "pxl/AlgoInfo.h"
#include "qorn/io/ImageHeader.h"

/** The scale that a file declares for its voxels, where results depend on it. Voxels are never scaled. */
namespace qorn {

/** Which values are printed: "values are scaled by 2 and shifted by -3 as the file says: ..." */
std::string describeScale(io::ValueScale const& scale);

/** Whether the operator's result on voxels differs from that on the scaled values. */
bool isReversedBy(io::ValueScale const& scale, pxl::AlgoInfo const& record);

}  // namespace qorn
