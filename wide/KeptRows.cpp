#include "wide/KeptRows.h"

#include <algorithm>
#include <cstring>

namespace pxl::wide {
namespace {

long countPlans(BandCut const& cut) { return cut.isVolume ? cut.image.getNbSlabs() : 1; }
long countRows(BandCut const& cut) { return cut.isVolume ? cut.image.getNbRows() : cut.image.getNbSlabs(); }

}  // namespace

long KeptRows::countBytes(BandCut const& cut, Reach const& reach, long voxelSize) {
  return (cut.nbBands - 1) * (reach.up + reach.down) * countPlans(cut) * cut.image.getNbCols() * voxelSize;
}

KeptRows::KeptRows(BandCut const& cut, Reach const& reach, long voxelSize)
    : m_cut(cut),
      m_nbBefore(reach.up),
      m_nbAfter(reach.down),
      m_nbRowBytes(cut.image.getNbCols() * voxelSize),
      m_rows(static_cast<std::size_t>(countBytes(cut, reach, voxelSize))) {}

void KeptRows::keep(SlabImage const& image) {
  char* kept = m_rows.data();
  long const nbRows = countRows(m_cut), nbPlans = countPlans(m_cut);
  for (long edge = 1; edge < m_cut.nbBands; ++edge)
    for (long i = -m_nbBefore; i < m_nbAfter; ++i) {
      long const row = edge * m_cut.bandSize + i;
      for (long plan = 0; plan < nbPlans; ++plan, kept += m_nbRowBytes)
        if (row >= 0 && row < nbRows)
          std::memcpy(kept, m_cut.isVolume ? image.getRow(plan, row) : image.getRow(row, 0),
                      static_cast<std::size_t>(m_nbRowBytes));
    }
}

char const* KeptRows::find(SlabBox const& tile, long slab, long row) const {
  long const bandRow = getBandRow(slab, row);
  long const first = m_cut.isVolume ? tile.firstRow : tile.firstSlab;
  long const end = m_cut.isVolume ? tile.endRow : tile.endSlab;
  if (bandRow >= first && bandRow < end) return nullptr;
  long const edge = bandRow < first ? first : end;
  long const index = (edge / m_cut.bandSize - 1) * (m_nbBefore + m_nbAfter) + bandRow - edge + m_nbBefore;
  return m_rows.data() + (index * countPlans(m_cut) + (m_cut.isVolume ? slab : 0)) * m_nbRowBytes;
}

}  // namespace pxl::wide
