#pragma once

#include <string>

#include "pxl/BaseAlgorithm.h"
#include "pxl/analysis/IntensityExtremaMsr.h"

namespace qorn {

/**
 * A table of the cells of a measure, with a column for the position in each dimension that was asked for when there
 * is more than one cell. Numbers read back exactly.
 */
std::string toTable(pxl::analysis::IntensityExtremaMsr const& measure, pxl::BaseAlgorithm const& algorithm);

/**
 * {"minimum": [[[...]]], "maximum": [[[...]]]}, indexed by plan, sequence and spectral position. Infinities and NaN
 * are the texts "inf", "-inf" and "nan".
 */
std::string toJson(pxl::analysis::IntensityExtremaMsr const& measure);

}  // namespace qorn
