#include "wide/MorphologyRunner.h"

namespace pxl::wide {
namespace {

struct RunArguments {
  BaseAlgorithm* algorithm;
  ImageModel const* input;
  ImageModel* output;
  Stages const& stages;
  RowKernels const& kernels;
};

// Views take part in what is asked of images, and in the cancelling of the run: each asks for its flag.
struct ViewedRun {
  template <class T>
  static void run(RunArguments const* arguments) {
    using View = access::View<T>;
    auto const border = access::FixedBorderCondition<T>::New(T());
    auto const input = View::New(arguments->input, border);
    auto const output = View::New(arguments->output, border);
    ProgramFilter filter(
        arguments->algorithm, arguments->stages, arguments->kernels,
        describeImages(*arguments->input, *arguments->output),
        [](void const* view) { (void)static_cast<View const*>(view)->getInterface(); }, input.get());
    filter.run();
  }
};

}  // namespace

String explainImages(BaseAlgorithm const& algorithm, ImageModel const& input, ImageModel const& output) {
  TargetChoice const target = chooseTarget();
  if (!target.isUsable) return target.refusal;
  VoxelTypes const type = input.getVoxelType();
  if (type != output.getVoxelType() || !helper::isKernelVoxelType(type))
    return "the runner wide takes images of one voxel type";
  if (algorithm.hasProcessingRegion()) return "the runner wide takes whole images";
  char const* obstacle = findObstacle(input);
  if (!obstacle) obstacle = findObstacle(output);
  return obstacle ? String(obstacle) : String();
}

ProgramImages describeImages(ImageModel const& input, ImageModel const& output) {
  ProgramImages images{getMemoryImage(input), getMemoryImage(output), input.getVoxelType(), false};
  // Of images that overlap the host lets none through but those that are the same.
  images.isInPlace = images.source.voxels == images.target.voxels;
  return images;
}

PlanImage getPlanImage(ProgramImages const& images) {
  long const* const sizes = images.source.sizes;
  return {{sizes[cColumns], sizes[cRows], sizes[cPlans]}, images.type};
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
  RunArguments const arguments{algorithm, input, output, stages, kernels};
  tmpl_dispatch::Visitor1Args<tmpl_dispatch::AllTypes, ViewedRun, RunArguments const*>()(input->getVoxelType(),
                                                                                         &arguments);
}

}  // namespace pxl::wide
