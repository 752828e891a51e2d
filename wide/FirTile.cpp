#include "wide/FirTile.h"

#include <algorithm>
#include <cstring>

#include "wide/Scratch.h"

namespace pxl::wide {
namespace {

// Columns whose sums are still in the first-level cache when they become voxels.
constexpr long cNbConvertedCols = 1024;
// Products between two looks at the cancel flag: about half a millisecond.
constexpr long cNbProducts = 2L * 1024 * 1024;
constexpr int cMaxNbOuts = 4;

/** The ring of slabs: rows in a plane, planes of rows in a volume. */
struct RingLayout {
  RingLayout(FirTaps const& taps, FirKernels const& kernels, SlabBox const& image, SlabBox const& tile) {
    Reach const& reach = taps.getReach();
    long const slabReach = taps.isVolume() ? reach.before : reach.up;
    long const rowReach = taps.isVolume() ? reach.up : 0;
    firstSlab = std::max(tile.firstSlab - slabReach, 0L);
    endSlab = std::min(tile.endSlab + slabReach, image.endSlab);
    firstRow = std::max(tile.firstRow - rowReach, 0L);
    endRow = std::min(tile.endRow + rowReach, image.endRow);
    left = reach.left;
    right = reach.right;
    nbSlabsAhead = slabReach;
    // Those of any tile of this size, wherever it is.
    long const nbResultSlabs = taps.isVolume() ? 1 : std::min<long>(taps.getNbResults(), tile.getNbSlabs());
    nbSlabs = std::min(image.getNbSlabs(), nbResultSlabs + 2 * slabReach);
    long const nbRows = std::min(image.getNbRows(), tile.getNbRows() + 2 * rowReach);
    // A cache line more: rows at addresses that are the same in their last bits displace each other.
    rowStride =
        roundUp((left + tile.getNbCols() + right + kernels.nbLanes) * kernels.numberSize, cCacheLine) + cCacheLine;
    slabStride = nbRows * rowStride;
    outsOffset = nbSlabs * slabStride;
    outStride = roundUp((tile.getNbCols() + kernels.nbLanes) * kernels.numberSize, cCacheLine) + cCacheLine;
    nbBytes = outsOffset + cMaxNbOuts * outStride;
  }

  // What is read of the image.
  long firstSlab;
  long endSlab;
  long firstRow;
  long endRow;
  long left;  ///< columns beyond the tile
  long right;

  long nbSlabsAhead;  ///< of the slab of the result
  long nbSlabs;
  long rowStride;  ///< bytes
  long slabStride;
  long outsOffset;
  long outStride;
  long nbBytes;
};

class FirTile {
 public:
  FirTile(FirPlan const& plan, SlabBox const& tile, KeptRows const* kept, char* scratch, RunViews const& views,
          std::atomic<unsigned long>& progress)
      : m_plan(plan),
        m_taps(plan.taps),
        m_kernels(plan.kernels),
        m_tile(tile),
        m_kept(kept),
        m_layout(plan.taps, plan.kernels, plan.image, tile),
        m_scratch(scratch),
        m_views(views),
        m_progress(progress),
        m_nextSlab(m_layout.firstSlab),
        // Integers of 32 bits are computed in double.
        m_isDirect(m_kernels.voxelSize == m_kernels.numberSize && tile.getNbCols() >= m_kernels.nbLanes) {}

  void run();

 private:
  void loadUpTo(long endSlab);
  void loadRow(long slab, long row);
  void compute(long slab, long row, int nbResults);
  void collectRows(long slab, long row, int nbResults);
  void step(long nbVoxels);
  char* getRow(long slab, long row) const;
  char const* getSource(long slab, long row, long planShift, long rowShift) const;

  FirPlan const& m_plan;
  FirTaps const& m_taps;
  FirKernels const& m_kernels;
  SlabBox const m_tile;
  KeptRows const* const m_kept;
  RingLayout const m_layout;
  char* const m_scratch;
  RunViews const& m_views;
  std::atomic<unsigned long>& m_progress;
  long m_nextSlab;  ///< the first that isn't in the ring
  bool const m_isDirect;
  std::vector<char const*> m_sources;
  std::vector<char const*> m_rows;  ///< of taps, or of a box
  long m_nbVoxels = 0;              ///< since the last look at the cancel flag
};

// Column 0 of a row in the ring.
char* FirTile::getRow(long slab, long row) const {
  return m_scratch + slab % m_layout.nbSlabs * m_layout.slabStride + (row - m_layout.firstRow) * m_layout.rowStride +
         m_layout.left * m_kernels.numberSize;
}

char const* FirTile::getSource(long slab, long row, long planShift, long rowShift) const {
  SlabBox const& image = m_plan.image;
  if (!m_taps.isVolume()) return getRow(reflect(slab + rowShift, image.endSlab), 0);
  return getRow(reflect(slab + planShift, image.endSlab), reflect(row + rowShift, image.endRow));
}

void FirTile::loadRow(long slab, long row) {
  char const* source = m_kept ? m_kept->find(m_tile, slab, row) : nullptr;
  if (!source) source = m_plan.source.getRow(slab, row);
  long const nbCols = m_plan.image.endCol, size = m_kernels.numberSize;
  long const begin = m_tile.firstCol - m_layout.left, end = m_tile.endCol + m_layout.right;
  long const first = std::max(begin, 0L), last = std::min(end, nbCols) - 1;
  char* const numbers = getRow(slab, row) - m_tile.firstCol * size;
  m_kernels.load(source + first * m_kernels.voxelSize, numbers + first * size, last - first + 1);
  auto const copy = [&](long to, long from) {
    std::memcpy(numbers + to * size, numbers + from * size, static_cast<std::size_t>(size));
  };
  for (long col = begin; col < 0; ++col) copy(col, nbCols == 1 ? 0 : -col);
  for (long col = nbCols; col < end; ++col) copy(col, nbCols == 1 ? 0 : 2 * (nbCols - 1) - col);
}

void FirTile::loadUpTo(long endSlab) {
  for (endSlab = std::min(endSlab, m_layout.endSlab); m_nextSlab < endSlab; ++m_nextSlab)
    for (long row = m_layout.firstRow; row < m_layout.endRow; ++row) loadRow(m_nextSlab, row);
}

void FirTile::collectRows(long slab, long row, int nbResults) {
  m_rows.clear();
  long const size = m_kernels.numberSize;
  if (nbResults > 1) {
    FirBox const box = m_taps.getBox();
    kernel::Offset3D const& first = m_taps.getFirstOfBox();
    for (long plan = 0; plan < box.nbPlans; ++plan)
      for (long i = 0; i < box.nbRows + nbResults - 1; ++i)
        m_rows.push_back(getSource(slab, row, first.plan + plan, first.row + i) + first.col * size);
    return;
  }
  m_sources.clear();
  for (FirTaps::Source const& source : m_taps.getSources())
    m_sources.push_back(getSource(slab, row, source.plan, source.row));
  for (FirTaps::Tap const& tap : m_taps.getTaps()) m_rows.push_back(m_sources[tap.source] + tap.col * size);
}

void FirTile::step(long nbVoxels) {
  m_nbVoxels += nbVoxels;
  if (m_nbVoxels * m_taps.getNbTaps() < cNbProducts) return;
  m_views.check();
  m_progress.fetch_add(static_cast<unsigned long>(m_nbVoxels));
  m_nbVoxels = 0;
}

// Adjacent rows of results from (slab, row) on: slabs in a plane, rows in a volume.
void FirTile::compute(long slab, long row, int nbResults) {
  collectRows(slab, row, nbResults);
  long const nbCols = m_tile.getNbCols(), voxelSize = m_kernels.voxelSize, numberSize = m_kernels.numberSize;
  char *outs[cMaxNbOuts], *targets[cMaxNbOuts];
  for (int i = 0; i < nbResults; ++i) {
    targets[i] = m_taps.isVolume() ? m_plan.target.getRow(slab, row + i) : m_plan.target.getRow(slab + i, 0);
    targets[i] += m_tile.firstCol * voxelSize;
    outs[i] = m_isDirect ? targets[i] : m_scratch + m_layout.outsOffset + i * m_layout.outStride;
  }
  long nbAtOnce = std::max(cNbProducts / (m_taps.getNbTaps() * nbResults), 1L);
  if (!m_isDirect) nbAtOnce = std::min(nbAtOnce, cNbConvertedCols);
  // Whole groups of vectors.
  nbAtOnce = (nbAtOnce + 8 * m_kernels.nbLanes - 1) / (8 * m_kernels.nbLanes) * (8 * m_kernels.nbLanes);
  for (long begin = 0; begin < nbCols; begin += nbAtOnce) {
    long const end = std::min(begin + nbAtOnce, nbCols);
    if (nbResults > 1)
      m_kernels.sumBox(m_taps.getBox(), m_rows.data(), outs, nbResults, begin, end,
                       m_isDirect && m_plan.isPastCaches);
    else
      m_kernels.sumTaps(m_rows.data(), m_taps.getCoefficients(), m_taps.getNbTaps(), outs[0], begin, end);
    for (int i = 0; i < nbResults && !m_isDirect; ++i)
      m_kernels.store(outs[i] + begin * numberSize, targets[i] + begin * voxelSize, end - begin);
    step((end - begin) * nbResults);
  }
}

void FirTile::run() {
  bool const isVolume = m_taps.isVolume();
  int const nbAtOnce = m_taps.getNbResults();
  for (long slab = m_tile.firstSlab; slab < m_tile.endSlab;) {
    int const nbSlabs = isVolume ? 1 : static_cast<int>(std::min<long>(nbAtOnce, m_tile.endSlab - slab));
    loadUpTo(slab + nbSlabs + m_layout.nbSlabsAhead);
    for (long row = m_tile.firstRow; row < m_tile.endRow;) {
      int const nbRows = isVolume ? static_cast<int>(std::min<long>(nbAtOnce, m_tile.endRow - row)) : nbSlabs;
      compute(slab, row, nbRows);
      row += nbRows;
    }
    slab += nbSlabs;
  }
  if (m_plan.isPastCaches) m_kernels.flush();
  m_progress.fetch_add(static_cast<unsigned long>(m_nbVoxels));
}

}  // namespace

long countScratchBytes(FirTaps const& taps, FirKernels const& kernels, SlabBox const& image, SlabBox const& tile) {
  return RingLayout(taps, kernels, image, tile).nbBytes;
}

void runFirTile(FirPlan const& plan, SlabBox const& tile, KeptRows const* kept, char* scratch, RunViews const& views,
                std::atomic<unsigned long>& progress) {
  FirTile(plan, tile, kept, scratch, views, progress).run();
}

}  // namespace pxl::wide
