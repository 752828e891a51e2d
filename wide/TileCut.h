#pragma once

#include <vector>

#include "wide/TileRun.h"

namespace pxl::wide {

/** The programs of a structuring element. */
struct ElementPrograms {
  bool isVolume;
  FoldProgram fast;
  FoldProgram ordered;  ///< for reals where the order matters; unused where the fast one keeps the order itself

  bool needsOrdered(VoxelTypes type) const { return !fast.isOrdered && (type == cFloat || type == cDouble); }
};

/** Programs that are run one after the other: the first on the input, the others on the output. */
struct Stage {
  ElementPrograms programs;
  unsigned long nbRuns;
};
using Stages = std::vector<Stage>;

// What runs are cut into, whatever they compute.
constexpr long cNbTilesPerThread = 4;
constexpr long cMinNbVoxelsOfTile = 32 * 1024;  ///< work that is worth a task of its own
constexpr long cNbRowsOfVolumeTile = 64;
constexpr long cMinNbRowsOfVolumeTile = 16;
constexpr long cMinNbPlans = 16;  ///< of a tile

/** How a slice, a plane or a volume, is cut into bands of rows. */
struct BandCut {
  bool isVolume;
  SlabBox image;
  long nbBands;
  long bandSize;  ///< rows
};

/** Sizes that a test asks for by PXLWORKS_WIDE_TILE=ROWS:PART, of bands and their parts; 0 where it doesn't. */
struct AskedSizes {
  long band;
  long part;
};
AskedSizes getAskedSizes();

/**
 * How the slices of a run, planes or volumes, are cut into tiles: into bands of rows, where that isn't enough into
 * strips of columns (planes) or runs of plans (volumes). In place there are bands of rows alone, so that only the
 * rows along their edges must be kept.
 */
struct TileCut : BandCut {
  /** One part. */
  explicit TileCut(BandCut const& bands);
  TileCut(ElementPrograms const& programs, TilePlan const& plan, VoxelTypes type, long nbSlices, long nbThreads);

  long getNbTiles() const { return nbBands * nbParts; }
  /** Tile `index` of a slice. */
  SlabBox getTile(long index) const;
  /** The scratch memory of the largest tile. */
  long countScratchBytes(ElementPrograms const& programs, TilePlan const& plan, VoxelTypes type) const;

  long nbParts;  ///< strips of columns, or runs of plans
  long partSize;
};

}  // namespace pxl::wide
