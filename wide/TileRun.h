#pragma once

#include <vector>

#include "wide/RowKernels.h"
#include "wide/Slabs.h"
#include "wide/TileLayout.h"

namespace pxl::wide {

/** What a tile asks its run for. */
class TileHost {
 public:
  /** Called with each step, before `nbSlabs` slabs of the result are computed. May throw to end the run. */
  virtual void step(long nbSlabs) = 0;
  /** A row of the image as it was before the run, or null if it's the image's own; for tiles that copy. */
  virtual char const* findKeptRow(SlabBox const& tile, long slab, long row) const = 0;

 protected:
  ~TileHost() = default;
};

/** How tiles of one run are computed; shared by its threads. */
struct TilePlan {
  bool isVolume;
  SlabBox image;  ///< from 0
  SlabImage source;
  SlabImage target;
  RowKernels const* kernels;
  bool isCopied;      ///< rows of the source are copied before they are folded: source and target are the same voxels
  bool isPrefetched;  ///< the nodes prefetch the rows of the source that the next step reads
  bool isPastCaches;  ///< the result is written to memory without reading what is there
};

/** Bytes of scratch memory for a tile. */
long countScratchBytes(TilePlan const& plan, FoldProgram const& program, SlabBox const& tile);

/**
 * Computes a tile with a program.
 *
 * @param isWatchful  ends with false, and a part of the tile written, where reals for which the order matters are
 *                    found; a tile that copies finds them before anything is written
 * @param scratch     countScratchBytes() bytes, 64-byte aligned
 */
bool runTile(TilePlan const& plan, FoldProgram const& program, SlabBox const& tile, bool isWatchful, char* scratch,
             TileHost& host);

}  // namespace pxl::wide
