#pragma once

#include <string>

#include "pxl/AlgoInfo.h"
#include "qorn/io/ImageHeader.h"

/** What a file says its voxels mean, where results depend on it. Voxels themselves are never scaled. */
namespace qorn {

/** Which values are printed: "values are scaled by 2 and shifted by -3 as the file says: ..." */
std::string describeScale(io::ValueScale const& scale);

/** Whether the operator's result on voxels isn't what its name says of the values that they stand for. */
bool isReversedBy(io::ValueScale const& scale, pxl::AlgoInfo const& record);

}  // namespace qorn
