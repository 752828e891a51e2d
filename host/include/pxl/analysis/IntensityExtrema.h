#pragma once

#include "pxl/BaseAlgorithm.h"
#include "pxl/Property.h"
#include "pxl/analysis/AnalysisDimensions.h"
#include "pxl/analysis/IntensityExtremaMsr.h"

namespace pxl::analysis {

/**
 * The smallest and the largest voxel value of an image: as a whole, or for each plan, sequence position or spectral
 * position apart.
 *
 * The result has three dimensions (plans, sequence, spectral series); one that isn't asked for has size 1. Values
 * are those of the voxels, exact as double. Infinities count as the comparisons give: only finite values lie within
 * the starting range. NaN is never a result, but with NaN in the image the result depends on how the work was cut.
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
  /** AnalysisDimensions */
  Property<int> analysisDimensions{*this,
                                   "analysisDimensions",
                                   cWholeImage,
                                   {cAnalysisDimensionNames, ChoiceKinds::cSum},
                                   "what has a result of its own"};
  Property<IntensityExtremaMsr*> outputMeasure{*this, "outputMeasure", "arrays that receive the values"};
};

}  // namespace pxl::analysis
