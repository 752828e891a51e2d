#include "wide/RunViews.h"

#include "Core/private/Helper/RunnerTests.h"
#include "Core/private/TmplDispatch/Visitor1Args.h"
#include "pxl/access/View.h"
#include "wide/MemoryImage.h"
#include "wide/Targets.h"

namespace pxl::wide {

struct ViewOpening {
  RunViews& views;
  std::vector<ImageModel const*> const& inputs;
  ImageModel* output;

  template <class T>
  static void run(ViewOpening const* opening) {
    using View = access::View<T>;
    RunViews& views = opening->views;
    auto const border = access::FixedBorderCondition<T>::New(T());
    for (ImageModel const* input : opening->inputs) views.m_views.push_back(View::New(input, border));
    if (opening->output) views.m_views.push_back(View::New(opening->output, border));
    views.m_check = [](void const* view) { (void)static_cast<View const*>(view)->getInterface(); };
  }
};

RunViews::RunViews(std::vector<ImageModel const*> const& inputs, ImageModel* output) {
  m_views.reserve(inputs.size() + 1);
  ViewOpening const opening{*this, inputs, output};
  tmpl_dispatch::Visitor1Args<tmpl_dispatch::AllTypes, ViewOpening, ViewOpening const*>()(
      inputs.front()->getVoxelType(), &opening);
}

String explainImages(BaseAlgorithm const& algorithm, std::vector<ImageModel const*> const& images) {
  TargetChoice const target = chooseTarget();
  if (!target.isUsable) return target.refusal;
  VoxelTypes const type = images.front()->getVoxelType();
  for (ImageModel const* image : images)
    if (image->getVoxelType() != type || !helper::isKernelVoxelType(type))
      return "the runner wide takes images of one voxel type";
  if (algorithm.hasProcessingRegion()) return "the runner wide takes whole images";
  for (ImageModel const* image : images)
    if (char const* const obstacle = findObstacle(*image)) return obstacle;
  return String();
}

}  // namespace pxl::wide
