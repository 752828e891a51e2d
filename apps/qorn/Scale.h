#pragma once

#include <string>

#include "pxl/AlgoInfo.h"
#include "pxl/analysis/IntensityExtremaMsr.h"
#include "qorn/io/ImageHeader.h"

/** What a file says its voxels mean, where results depend on it. Voxels themselves are never scaled. */
namespace qorn {

/** Every cell gets the value that its voxel stands for; a negative slope exchanges smallest and largest. */
void applyScale(io::ValueScale const& scale, pxl::analysis::IntensityExtremaMsr& measure);

/** Which values are printed: "values are scaled by 2 and shifted by -3 as the file says: ..." */
std::string describeScale(io::ValueScale const& scale);

/** Whether the operator's result on voxels isn't what its name says of the values that they stand for. */
bool isReversedBy(io::ValueScale const& scale, pxl::AlgoInfo const& record);

}  // namespace qorn
