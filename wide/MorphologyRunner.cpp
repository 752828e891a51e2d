#include "wide/MorphologyRunner.h"

namespace pxl::wide {
ProgramImages describeImages(ImageModel const& input, ImageModel const& output) {
  ProgramImages images{getMemoryImage(input), getMemoryImage(output), input.getVoxelType(), false};
  // Of images that overlap the host lets none through but those that are the same.
  images.isInPlace = images.source.voxels == images.target.voxels;
  return images;
}

PlanImage getPlanImage(ProgramImages const& images) {
  long const* const sizes = images.source.sizes;
  RowKernels const& kernels = *getRowKernels(chooseTarget().target, images.type, Polarities::cDilation);
  return {{sizes[cColumns], sizes[cRows], sizes[cPlans]}, images.type, kernels.limits};
}

String explainStages(BaseAlgorithm const& algorithm, Stages const& stages, Polarities polarity,
                     ProgramImages const& images) {
  RowKernels const& kernels = *getRowKernels(chooseTarget().target, images.type, polarity);
  // The rows that threads work on don't count, as with the other runner; asking costs more than a small image.
  constexpr unsigned long cNbUncountedBytes = 1024 * 1024;
  unsigned long const nbBytes = countExtraBytes(stages, kernels, images);
  if (nbBytes > cNbUncountedBytes && nbBytes > algorithm.getMaximumExtraMemoryUsageInBytes())
    return "the runner wide needs more extra memory";
  return String();
}

void runStages(BaseAlgorithm* algorithm, ImageModel const* input, ImageModel* output, Stages const& stages,
               Polarities polarity) {
  RowKernels const& kernels = *getRowKernels(chooseTarget().target, input->getVoxelType(), polarity);
  RunViews const views({input}, output);
  ProgramFilter(
      algorithm, stages, kernels, describeImages(*input, *output),
      [](void const* checked) { static_cast<RunViews const*>(checked)->check(); }, &views)
      .run();
}

}  // namespace pxl::wide
