#pragma once

#include <tbb/enumerable_thread_specific.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <vector>

#include "Raise.h"
#include "pxl/access/ViewInterface.h"

namespace pxl::access {

/**
 * Pieces of rows that are stored in an image later. Each thread appends to a thread-local store, without a lock; the
 * stores keep their memory from one pass to the next. In-place operators hold back two pieces of nearly every row, so
 * this path is as hot as writing itself.
 */
template <class T>
class DeferredRows : private Noncopyable {
 public:
  bool isEmpty() const { return !m_isFilled.load(std::memory_order_relaxed); }

  /** Copies `count` voxels from a position on, as far as they are within the image. */
  void keep(ViewInterface<T> const& image, T const* voxels, long count, long col, long row, long plan, long sequence,
            long spectralSeries) {
    long const skip = std::max(-col, 0L);
    long const end = std::min(col + count, image.nbCols);
    bool const isInside = row >= 0 && row < image.nbRows && plan >= 0 && plan < image.nbPlans && sequence >= 0 &&
                          sequence < image.nbSequence && spectralSeries >= 0 &&
                          spectralSeries < image.nbSpectralSeries;
    if (!isInside || col + skip >= end) return;
    long const kept = end - (col + skip);
    Store& store = m_stores.local();
    T* const target = store.reserve(kept);
    std::copy(voxels + skip, voxels + skip + kept, target);
    store.pieces.push_back({target, kept, col + skip, row, plan, sequence, spectralSeries});
    m_isFilled.store(true, std::memory_order_relaxed);
  }

  /** Stores all pieces and clears the stores. After a failure the next call stores the remaining pieces. */
  void writeAll(ViewInterface<T>& image) {
    for (Store& store : m_stores) {
      for (Piece const& piece : store.pieces)
        if (!image.writeRowAt(piece.count, piece.voxels, piece.col, piece.row, piece.plan, piece.sequence,
                              piece.spectralSeries))
          PXL_RAISE(UnexpectedError, "a row that was held back can't be written");
      store.clear();
    }
    m_isFilled.store(false, std::memory_order_relaxed);
  }

 private:
  struct Piece {
    T const* voxels;
    long count;
    long col;
    long row;
    long plan;
    long sequence;
    long spectralSeries;
  };

  // Voxels in chunks that never move, because pieces point into them.
  struct Store {
    static constexpr long cChunkSize = 65536 / static_cast<long>(sizeof(T));

    T* reserve(long count) {
      while (chunk < chunks.size() && used + count > static_cast<long>(chunks[chunk].size())) {
        ++chunk;
        used = 0;
      }
      if (chunk == chunks.size()) chunks.emplace_back(static_cast<std::size_t>(std::max(count, cChunkSize)));
      T* const place = chunks[chunk].data() + used;
      used += count;
      return place;
    }

    void clear() {
      pieces.clear();
      chunk = 0;
      used = 0;
    }

    std::vector<Piece> pieces;
    std::vector<std::vector<T>> chunks;
    std::size_t chunk = 0;
    long used = 0;
  };

  std::atomic<bool> m_isFilled{false};
  tbb::enumerable_thread_specific<Store, tbb::cache_aligned_allocator<Store>, tbb::ets_no_key> m_stores;
};

}  // namespace pxl::access
