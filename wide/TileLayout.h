#pragma once

#include <vector>

#include "wide/FoldProgram.h"
#include "wide/Slabs.h"

namespace pxl::wide {

/** Where the values of a node are while a tile is computed: a ring of slabs, or the image itself. */
struct NodeRing {
  bool hasMemory;     ///< false for an image that is read or written in place
  long nbSlabs;       ///< that the ring holds
  long nbRows;        ///< of a slab, from firstRow on
  long firstRow;      ///< of the image's
  long firstCol;      ///< where a row of the ring begins, in columns of the image
  long nbCols;        ///< that a row of the ring holds
  long rowStride;     ///< bytes
  long slabStride;    ///< bytes
  long offset;        ///< of the ring in the scratch memory
  long blocksOffset;  ///< of the suffixes of a window by blocks, and of the prefix behind them
  SlabBox computed;   ///< the values that are computed for the tile; beyond them is the neutral value, or none read
};

/** The memory of one tile, known before it is computed. */
class TileLayout {
 public:
  /**
   * @param box         the tile
   * @param image       the image, from 0
   * @param nbAtOnce    slabs of each node that one step computes
   * @param isCopied    whether the image is copied into a ring first
   */
  TileLayout(FoldProgram const& program, bool isVolume, SlabBox const& box, SlabBox const& image, long voxelSize,
             long nbAtOnce, bool isCopied);

  std::vector<NodeRing> rings;  ///< of each node
  long nbNeutralVoxels;         ///< of the row of neutral values at the start of the scratch memory
  long nbBytes;                 ///< of the scratch memory
  long lead;                    ///< slabs before the tile at which the steps begin
};

}  // namespace pxl::wide
