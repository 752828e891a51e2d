#pragma once

#include <tbb/enumerable_thread_specific.h>

#include <vector>

#include "access/ConvertedWindow.h"
#include "pxl/io/TemporaryImage.h"

namespace pxl::access {

/** Returns the extra memory in bytes; called just before memory is allocated. */
using ExtraMemory = unsigned long (*)();

/**
 * Buffers the writes to a window of an image, as voxels of some type, in a temporary image of the window's own type,
 * until they are stored in the image or discarded with this object. The record of what was written is thread-local,
 * as few rectangles.
 */
class WriteBuffer : private Noncopyable {
 public:
  /** @throws RuntimeError there is no room, neither in memory nor on disk */
  WriteBuffer(VoxelSource const& target, VoxelTypes type, ExtraMemory getExtraMemory);

  /** Buffers `count` voxels of one row. Thread-safe. @return false on failure */
  bool write(void const* voxels, unsigned long count, Position const& position);

  /** Whether nothing was written. Must not be called while a thread writes. */
  bool isEmpty() const { return m_pieces.empty(); }

  /** Stores the buffered writes, on the calling thread only. @throws RuntimeError the image can't be written */
  void commit();

 private:
  // Consecutive rows of equal length.
  struct Piece {
    Position begin;
    unsigned long nbCols;
    unsigned long nbRows;
  };
  using Pieces = std::vector<Piece>;

  static void note(Pieces& pieces, unsigned long count, Position const& position);

  VoxelSource m_target;
  io::TemporaryImageReference m_room;
  ConvertedWindow m_window;  ///< of the temporary image
  tbb::enumerable_thread_specific<Pieces, tbb::cache_aligned_allocator<Pieces>, tbb::ets_no_key> m_pieces;
};

}  // namespace pxl::access
