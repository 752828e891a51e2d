#pragma once

#include <tbb/enumerable_thread_specific.h>

#include <memory>
#include <vector>

#include "Core/private/Access/simd/AlignedAllocator.h"

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

  /** Those of the calling thread, for rows of at least `nbCols` voxels and the rest of a vector. */
  Pair get(unsigned long nbCols) const {
    Memo& first = firstMemos->local();
    Memo& second = secondMemos->local();
    // The second one is asked: where its growth failed, the first one is large already.
    if (nbCols > second.size()) {
      first.resize(nbCols);
      second.resize(nbCols);
    }
    return {first.data(), second.data()};
  }

  std::shared_ptr<Memos> firstMemos = std::make_shared<Memos>();
  std::shared_ptr<Memos> secondMemos = std::make_shared<Memos>();
};

}  // namespace pxl::morphology
