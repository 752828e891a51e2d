#pragma once

#include <tbb/enumerable_thread_specific.h>

#include <memory>

#include "Core/private/Access/ArchView.h"
#include "Core/private/Filters/InPlace.h"

namespace pxl {

/**
 * What one pass of a recursive filter passes to its kernel: the views of the pass, and thread-local slots for each
 * kind of cache, so that a thread makes its caches once for all blocks of the pass. Caches are destroyed with the
 * pass: the next one may read another image. Kernels take this type, so that they are compiled once for both kinds of
 * passes.
 */
template <class In, class Out, class Arch>
class PassContext : private Noncopyable {
 public:
  using ArchType = Arch;
  using InputView = access::ArchView<In, Arch>;
  using OutputView = access::ArchView<Out, Arch>;
  using InputRowCache = access::RowCacheRead<InputView, typename InputView::Allocator>;
  using OutputRowCache = access::RowCacheReadWrite<OutputView, typename OutputView::Allocator>;
  using InputPlanCache = access::PlanCacheRead<InputView, typename InputView::Allocator>;
  using OutputPlanCache = access::PlanCacheReadWrite<OutputView, typename OutputView::Allocator>;
  template <class Cache>
  using PerThread =
      tbb::enumerable_thread_specific<std::shared_ptr<Cache>, tbb::cache_aligned_allocator<std::shared_ptr<Cache>>,
                                      tbb::ets_no_key>;

  PassContext(std::shared_ptr<InputView const> inputView, std::shared_ptr<OutputView> outputView);
  ~PassContext();

  /** Each replaces the calling thread's cache by a new one of `count` slots and returns it. */
  std::shared_ptr<InputRowCache> createInputRowCache(unsigned long count);
  std::shared_ptr<OutputRowCache> createOuputRowCache(unsigned long count);
  std::shared_ptr<InputPlanCache> createInputPlanCache(unsigned long count);
  std::shared_ptr<OutputPlanCache> createOuputPlanCache(unsigned long count);

  /** Whether the pass reads and writes the same image. */
  bool isInPlace() const { return pxl::isInPlace(*input, *output); }

  std::shared_ptr<InputView const> input;
  std::shared_ptr<OutputView> output;
  PerThread<InputRowCache> inputRowCaches;
  PerThread<OutputRowCache> outputRowCaches;
  PerThread<InputPlanCache> inputPlanCaches;
  PerThread<OutputPlanCache> outputPlanCaches;
};

/** The context of the kind of pass that `Direction` selects. */
template <class In, class Out, class Arch, class Direction>
class RecursiveImageContext final : public PassContext<In, Out, Arch> {
 public:
  using PassContext<In, Out, Arch>::PassContext;
};

}  // namespace pxl

#include "Core/private/Filters/RecursiveImageContext.impl"
