#pragma once

#include "pxl/Choices.h"

namespace pxl::analysis {

/**
 * The dimensions along which an operator returns separate results: the bits of its property `analysisDimensions`.
 * Other bits are ignored.
 */
enum AnalysisDimensions : int {
  cWholeImage = 0,
  cEachPlan = 1,
  cEachSpectralPosition = 2,
  cEachSequencePosition = 4
};

inline constexpr Choice cAnalysisDimensionNames[] = {
    {"none", cWholeImage, "one result for the whole image"},
    {"plans", cEachPlan, "a result for each plan"},
    {"sequence", cEachSequencePosition, "for each sequence position"},
    {"spectral", cEachSpectralPosition, "for each spectral position"}};

}  // namespace pxl::analysis
