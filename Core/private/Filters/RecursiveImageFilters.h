#pragma once

#include <memory>

#include "Core/private/Access/ArchView.h"
#include "Core/private/Filters/FilterTags.h"
#include "pxl/BaseTbbAlgorithm.h"

namespace pxl {

/**
 * Runs the passes of a recursive filter, slice by slice; a slice is a plan in 2D and a volume in 3D. Each pass reads
 * what the previous one wrote. Passes write the temporary image and the output alternately, so that the last pass
 * writes the output. Where no temporary is allowed, all passes but the first work in place, and the voxels between
 * blocks are held back until the pass is over. Nothing is copied between passes.
 *
 * A temporary is made for images on disk if the setting "PXL_RECURSIVITY_TMP_DISK_IMAGE" allows it, and in memory for
 * more than one iteration where it is smaller than the extra memory of the algorithm.
 *
 * @throws RuleException        the temporary can't be allocated; no pass has run then
 * @throws ExceptionCancelation the filter was cancelled; the output holds what was written so far
 */
template <class Tag>
struct DoRunRecursiveImage {
  template <class Filter>
  static void run(Filter* filter);
};

/**
 * Applies a kernel `nbIterations` times. All threads share the kernel, whose run(block, context) computes one block
 * of one pass; it must outlive the filter. Serves one run.
 */
template <class In, class Out, class Arch, class Kernel, class Tag>
class RecursiveImageFilter : public BaseTbbAlgorithm {
 public:
  using InputType = In;
  using OutputType = Out;
  using ArchType = Arch;
  using KernelType = Kernel;
  using InputView = access::ArchView<In, Arch>;
  using OutputView = access::ArchView<Out, Arch>;

  RecursiveImageFilter(BaseAlgorithm* algorithm, Kernel* kernelObject)
      : BaseTbbAlgorithm(algorithm), kernel(kernelObject) {}

  void setInput(ImageModel const* image, std::shared_ptr<access::BorderCondition<In>> border) {
    input = InputView::New(image, std::move(border));
    if (!m_isRegionChosen) setProcessingRegion(input->getLargestPossibleRegion());
  }

  /** The temporary image gets the same border condition, so that the edges are the same in all passes. */
  void setOutput(ImageModel* image, std::shared_ptr<access::BorderCondition<Out>> border) {
    outputBorderCondition = border;
    output = OutputView::New(image, std::move(border));
    if (!m_isRegionChosen) setProcessingRegion(output->getLargestPossibleRegion());
  }

  void setNbIterations(unsigned long count) { nbIterations = count; }

  void run() override { DoRunRecursiveImage<Tag>::run(this); }

  /** Does nothing: the passes store held-back rows themselves. */
  virtual void writeTemporizedOutputs() {}

  Kernel* kernel;
  std::shared_ptr<InputView const> input;
  std::shared_ptr<OutputView> output;
  unsigned long nbIterations = 0;
  std::shared_ptr<access::BorderCondition<Out>> outputBorderCondition;
};

template <class In, class Out, class Arch, class Kernel>
class RecursiveImageFilter2d final : public RecursiveImageFilter<In, Out, Arch, Kernel, Filter2dTag> {
 public:
  using RecursiveImageFilter<In, Out, Arch, Kernel, Filter2dTag>::RecursiveImageFilter;
};

template <class In, class Out, class Arch, class Kernel>
class RecursiveImageFilter3d final : public RecursiveImageFilter<In, Out, Arch, Kernel, Filter3dTag> {
 public:
  using RecursiveImageFilter<In, Out, Arch, Kernel, Filter3dTag>::RecursiveImageFilter;
};

}  // namespace pxl

#include "Core/private/Filters/RecursiveImageFilters.impl"
