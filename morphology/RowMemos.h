#pragma once

#include <tbb/enumerable_thread_specific.h>

#include <array>
#include <memory>
#include <vector>

#include "Core/private/Access/simd/AlignedAllocator.h"
#include "pxl/VoxelTypes.h"

namespace pxl::morphology {

/** Two rows of reduced voxels for each thread, which live as long as the kernel they belong to; they only grow. */
template <class T>
struct RowMemos {
  using Memo = std::vector<T, SimdVec::AlignedAllocator<T, 16>>;
  using Memos = tbb::enumerable_thread_specific<Memo, tbb::cache_aligned_allocator<Memo>, tbb::ets_no_key>;
  struct Pair {
    T* older;
    T* newer;
  };

  RowMemos();
  ~RowMemos();

  /** Those of the calling thread, for rows of at least `nbCols` voxels and the rest of a vector. */
  Pair get(unsigned long nbCols) const;

  std::shared_ptr<Memos> firstMemos;
  std::shared_ptr<Memos> secondMemos;
};

/** Where the rows of three plans start, by their slots, for each thread; kept like the memos. */
template <class T>
struct PlanStarts {
  using Starts = std::array<std::vector<T const*>, 3>;
  using OfThreads = tbb::enumerable_thread_specific<Starts, tbb::cache_aligned_allocator<Starts>, tbb::ets_no_key>;

  PlanStarts();
  ~PlanStarts();

  Starts& get() const;

  std::shared_ptr<OfThreads> starts;
};

#define PXL_COMPILED_ONCE(T)          \
  extern template struct RowMemos<T>; \
  extern template struct PlanStarts<T>;
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILED_ONCE)
#undef PXL_COMPILED_ONCE

}  // namespace pxl::morphology
