#pragma once

#include "pxl/BaseAlgorithm.h"
#include "pxl/Property.h"
#include "pxl/analysis/AnalysisDimensions.h"
#include "pxl/analysis/IntensityExtremaMsr.h"

namespace pxl::analysis {

/**
 * The smallest and the largest voxel value of an image, or of each plan, sequence position or spectral position.
 *
 * Shape: plans x sequence x spectral series; a dimension that isn't selected has size 1.
 * Values: those of the voxels, exact as double. The search starts with the largest and the lowest finite value of the
 * type, so that an infinity is a result only where a comparison with them selects it. NaN is never a result, but with
 * NaN in the image the result depends on how the work is split.
 * Cost: one read of the image.
 */
class PXL_API IntensityExtrema : public BaseAlgorithm {
 public:
  IntensityExtrema();
  ~IntensityExtrema() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;
  RegionUses getRegionUse() const override;

  Property<ImageModel const*> inputImage{*this, "inputImage", "image to measure"};
  /** A sum of AnalysisDimensions. */
  Property<int> analysisDimensions{*this,
                                   "analysisDimensions",
                                   cWholeImage,
                                   {cAnalysisDimensionNames, ChoiceKinds::cSum},
                                   "dimensions with separate results"};
  Property<IntensityExtremaMsr*> outputMeasure{*this, "outputMeasure", "arrays that receive the values"};
};

}  // namespace pxl::analysis
