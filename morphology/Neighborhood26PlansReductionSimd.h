#pragma once

#include <tbb/task_group.h>

#include <utility>

#include "Core/private/Filters/RecursiveImageContext.h"
#include "Core/private/Morphology/MinMaxFunctors.h"
#include "morphology/ReducedRows.h"

namespace pxl::morphology {

/**
 * One elementary dilation or erosion with the 3 x 3 x 3 cube. Each source position is reduced over three plans and
 * three columns once, nine voxels to one. An output row folds three reduced rows, two of which are kept from the rows
 * before. A vector takes nine loads from the source and ten operations, instead of 27 loads and 26 operations.
 *
 * A plan of a block is computed as a whole before it is written. If the task group is cancelled, the block ends
 * within a plan, which is not written then.
 */
template <class Functor, class T, class Arch>
class Neighborhood26PlansReductionSimd : public ReducedRows<T, Arch> {
 public:
  template <class In, class Out>
  void run(access::Block3d const& block, PassContext<In, Out, Arch>& context) const {
    auto& inputPlans = context.inputPlanCaches.local();
    if (!inputPlans) inputPlans = context.createInputPlanCache(3);
    auto& outputPlans = context.outputPlanCaches.local();
    if (!outputPlans) outputPlans = context.createOuputPlanCache(1);
    long const width = block.getNbCols(), height = block.getNbRows();
    unsigned long const nbCols = static_cast<unsigned long>(width), nbRows = static_cast<unsigned long>(height);
    auto [older, newer] = this->get(nbCols);
    auto& starts = m_starts.get();
    auto const fetch = [&](unsigned long slot, long plan) {
      inputPlans->fetchPlanInBlock(slot, nbCols + 2, nbRows + 2, block, -1, -1, plan, 0, 0)
          ->listRowStarts(starts[slot]);
    };
    unsigned long before = 1, current = 2, after = 0;
    fetch(before, -1);
    fetch(current, 0);

    bool const isInPlace = context.isInPlace();
    access::OverlapBorder const overlap(AlgoBorderInfluence(1, 1, 1, 0, 0));
    for (long plan = 0; plan < block.getNbPlans(); ++plan) {
      fetch(after, plan + 1);
      auto const* const output = outputPlans->getPlanInBlock(0, nbCols, nbRows, block, 0, 0, plan, 0, 0);
      auto const sourceRows = [&](unsigned long k) {
        auto const at = [&](unsigned long slot) { return static_cast<T const*>(starts[slot][k]); };
        return SourceRows{at(before), at(current), at(after)};
      };
      reduce(sourceRows(0), older, width);
      reduce(sourceRows(1), newer, width);
      if (tbb::is_current_task_group_canceling()) return;
      for (unsigned long row = 0; row < nbRows; ++row) {
        computeRow(sourceRows(row + 2), older, newer, output->rows[row]->voxels.data(), width);
        std::swap(older, newer);
      }
      if (tbb::is_current_task_group_canceling()) return;
      for (unsigned long row = 0; row < nbRows; ++row) {
        if (isInPlace)
          output->rows[row]->writeRow(block, overlap);
        else
          output->rows[row]->writeRow(block);
      }
      after = std::exchange(before, std::exchange(current, after));
    }
  }

 private:
  using Vec = SimdVec::Simd<T, Arch>;
  static constexpr long L = Vec::cNbLanes;

  /** One row of each of the three plans, from one column before the block. */
  struct SourceRows {
    T const* before;
    T const* current;
    T const* after;
  };

  static typename Vec::Vector fold(typename Vec::Vector v, T const* voxels) {
    return Functor::template apply<Vec>(v, Vec::load(voxels));
  }
  static typename Vec::Vector reduceNine(T const* before, T const* current, T const* after) {
    auto v = fold(fold(Vec::load(before), before + 1), before + 2);
    v = fold(fold(fold(v, current), current + 1), current + 2);
    return fold(fold(fold(v, after), after + 1), after + 2);
  }

  [[gnu::noinline]] static void reduce(SourceRows const& rows, T* __restrict memo, long width) {
    T const* const __restrict before = rows.before;
    T const* const __restrict current = rows.current;
    T const* const __restrict after = rows.after;
    for (long col = 0; col < width; col += L)
      Vec::store(memo + col, reduceNine(before + col, current + col, after + col));
  }

  // The older memo receives the newly reduced row.
  [[gnu::noinline]] static void computeRow(SourceRows const& rows, T* __restrict older, T const* __restrict newer,
                                           T* __restrict out, long width) {
    T const* const __restrict before = rows.before;
    T const* const __restrict current = rows.current;
    T const* const __restrict after = rows.after;
#pragma GCC unroll 2
    for (long col = 0; col < width; col += L) {
      auto const reduced = reduceNine(before + col, current + col, after + col);
      auto const v = Functor::template apply<Vec>(Vec::load(older + col), Vec::load(newer + col));
      Vec::store(out + col, Functor::template apply<Vec>(v, reduced));
      Vec::store(older + col, reduced);
    }
  }

  PlanStarts m_starts;
};

}  // namespace pxl::morphology
