#pragma once

#include <vector>

#include "wide/TileCut.h"

namespace pxl::wide {

/** In place: the rows along the edges of bands as they are before anything is written. */
class KeptRows {
 public:
  /** @param reach  of what tiles read around themselves */
  KeptRows(BandCut const& cut, Reach const& reach, long voxelSize);

  /** Bytes of rows that a slice keeps. */
  static long countBytes(BandCut const& cut, Reach const& reach, long voxelSize);

  /** Copies the rows of a slice. */
  void keep(SlabImage const& image);

  /** A row around a tile; null if it is within the tile. */
  char const* find(SlabBox const& tile, long slab, long row) const;

 private:
  long getBandRow(long slab, long row) const { return m_cut.isVolume ? row : slab; }

  BandCut const& m_cut;
  long m_nbBefore;  ///< rows that are kept above an edge
  long m_nbAfter;   ///< and below it
  long m_nbRowBytes;
  std::vector<char> m_rows;  ///< by edge, row and plan
};

}  // namespace pxl::wide
