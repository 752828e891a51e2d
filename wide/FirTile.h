#pragma once

#include <atomic>

#include "wide/FirTaps.h"
#include "wide/KeptRows.h"
#include "wide/RunViews.h"

namespace pxl::wide {

/** How tiles of one run are computed; shared by its threads. */
struct FirPlan {
  FirTaps const& taps;
  FirKernels const& kernels;
  SlabBox image;  ///< from 0
  SlabImage source;
  SlabImage target;
  bool isPastCaches;  ///< results are too large for the caches
};

/** Bytes of scratch memory for a tile. */
long countScratchBytes(FirTaps const& taps, FirKernels const& kernels, SlabBox const& image, SlabBox const& tile);

/**
 * Computes a tile: the rows that its results read go through a ring of numbers, in the order of the image.
 *
 * @param kept      rows around the tile, if the source is the target; else null
 * @param scratch   countScratchBytes() bytes, 64-byte aligned
 * @param views     asked whether the run goes on
 * @param progress  voxels that are done are added
 */
void runFirTile(FirPlan const& plan, SlabBox const& tile, KeptRows const* kept, char* scratch, RunViews const& views,
                std::atomic<unsigned long>& progress);

}  // namespace pxl::wide
