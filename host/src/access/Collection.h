#pragma once

#include <tbb/enumerable_thread_specific.h>

#include <vector>

#include "access/ConvertedWindow.h"
#include "pxl/io/TemporaryImage.h"

namespace pxl::access {

/** Gives the bytes that may be taken in memory beyond images; asked when they are about to be taken. */
using ExtraMemory = unsigned long (*)();

/**
 * What is written to a window of an image, as voxels of some type, kept apart in a temporary image of the window's
 * own type until it is stored in the image or dropped with this object. Each thread takes note of what it wrote by
 * itself, as few rectangles.
 */
class Collection : private Noncopyable {
 public:
  /** @throws RuntimeError there is no room, neither in memory nor on disk */
  Collection(VoxelSource const& target, VoxelTypes type, ExtraMemory getExtraMemory);

  /** Keeps `count` voxels of one row; false on failure. By many threads at once. */
  bool write(void const* voxels, unsigned long count, Position const& position);

  /** Whether nothing was written. While nobody writes. */
  bool isEmpty() const { return m_pieces.empty(); }

  /** Stores what was written, on the calling thread alone. @throws RuntimeError the image can't be written */
  void commit();

 private:
  // Rows of equal length under each other.
  struct Piece {
    Position begin;
    unsigned long nbCols;
    unsigned long nbRows;
  };
  using Pieces = std::vector<Piece>;

  static void note(Pieces& pieces, unsigned long count, Position const& position);

  VoxelSource m_target;
  io::TemporaryImageReference m_room;
  ConvertedWindow m_window;  ///< of the room
  tbb::enumerable_thread_specific<Pieces, tbb::cache_aligned_allocator<Pieces>, tbb::ets_no_key> m_pieces;
};

}  // namespace pxl::access
