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

/**
 * How the slices of a run, planes or volumes, are cut into tiles: into bands of rows, where that isn't enough into
 * strips of columns (planes) or runs of plans (volumes). In place there are bands of rows alone, so that only the
 * rows along their edges must be kept.
 */
struct TileCut {
  /** PXLWORKS_WIDE_TILE=ROWS:PART asks for bands and parts of other sizes, for tests. */
  TileCut(ElementPrograms const& programs, TilePlan const& plan, VoxelTypes type, long nbSlices, long nbThreads);

  long getNbTiles() const { return nbBands * nbParts; }
  /** Tile `index` of a slice. */
  SlabBox getTile(long index) const;
  /** The scratch memory of the largest tile. */
  long countScratchBytes(ElementPrograms const& programs, TilePlan const& plan, VoxelTypes type) const;

  bool isVolume;
  SlabBox image;
  long nbBands;
  long bandSize;  ///< rows
  long nbParts;   ///< strips of columns, or runs of plans
  long partSize;
};

}  // namespace pxl::wide
