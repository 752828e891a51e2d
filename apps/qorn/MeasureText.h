#pragma once

#include <optional>
#include <string>

#include "pxl/BaseAlgorithm.h"
#include "pxl/analysis/Measure.h"
#include "qorn/io/ImageHeader.h"

namespace qorn {

/**
 * A table of the cells of a measure. If there is more than one cell, it has a column for the position in each
 * selected dimension. Numbers read back exactly.
 */
std::string toTable(pxl::analysis::Measure const& measure, pxl::BaseAlgorithm const& algorithm);

/**
 * An object with an array for each result, {"minimum": [[[...]]], "maximum": [[[...]]]}, indexed by plan, sequence
 * and spectral position. Infinities and NaN are the texts "inf", "-inf" and "nan". The keys "slope" and "intercept"
 * are the scale of the values, if there is one.
 */
std::string toJson(pxl::analysis::Measure const& measure, std::optional<io::ValueScale> const& scale);

}  // namespace qorn
