#pragma once

#include <tbb/enumerable_thread_specific.h>

#include <array>
#include <memory>
#include <vector>

#include "Core/private/Access/simd/SimdVec.h"
#include "pxl/VoxelTypes.h"

namespace pxl::morphology {

/** Two thread-local rows of reduced voxels, which live as long as their kernel; they only grow. */
template <class T, class Arch>
struct ReducedRows {
  using Memo = std::vector<T, SimdVec::RowAllocator<T, Arch>>;
  using Memos = tbb::enumerable_thread_specific<Memo, tbb::cache_aligned_allocator<Memo>, tbb::ets_no_key>;
  struct Pair {
    T* older;
    T* newer;
  };

  ReducedRows();
  ~ReducedRows();

  /** The rows of the calling thread, of at least `nbCols` voxels and the rest of a vector. */
  Pair get(unsigned long nbCols) const;

  std::shared_ptr<Memos> firstMemos;
  std::shared_ptr<Memos> secondMemos;
};

/** Thread-local starts of the rows of three plans, by their slots, for all voxel types; kept like the memos. */
struct PlanStarts {
  using Starts = std::array<std::vector<void const*>, 3>;
  using OfThreads = tbb::enumerable_thread_specific<Starts, tbb::cache_aligned_allocator<Starts>, tbb::ets_no_key>;

  PlanStarts();
  ~PlanStarts();

  Starts& get() const;

  std::shared_ptr<OfThreads> starts;
};

#define PXL_COMPILED_ONCE(T) extern template struct ReducedRows<T, SimdVec::arch_128_tag>;
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILED_ONCE)
#undef PXL_COMPILED_ONCE

}  // namespace pxl::morphology

#include "morphology/ReducedRows.impl"
