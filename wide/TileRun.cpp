#include "wide/TileRun.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace pxl::wide {
namespace {

using Kinds = FoldNode::Kinds;
constexpr long cForever = std::numeric_limits<long>::max();
constexpr long cNbRowsAtOnce = 8;
constexpr long cMaxRowsAtOnce = 16;
// Rows of up to so many bytes are folded cNbRowsAtOnce at once.
constexpr long cMaxNarrowBytes = 1024;
constexpr long cMaxNbPrefetchParts = 4;
// Voxels that are folded before the host is asked again whether the run goes on: about a millisecond. A slab of a
// volume and a large element takes hundreds, and so may the preparation of rings.
constexpr long cMaxNbUnwatched = 1 << 21;
constexpr long cPageFault = 1 << 12;  ///< voxels in the same time
// Voxels of the result whose progress is announced at once.
constexpr long cMinNbAnnounced = 1 << 14;

// Rows of one node as a tap of another one sees them.
struct TapPlace {
  char const* base;  ///< of row `firstRow` of slot 0, at the column from which the tap is read
  long rowStride;
  long slabStride;
  long firstRow;
  long firstSlot;          ///< a slab in slot 0
  long nbSlots;            ///< cForever: no ring, all slabs lie one after the other
  unsigned long slotMask;  ///< 0: slots are found by a division
  long rowShift;
  long slabShift;
  SlabBox values;  ///< beyond them is the neutral value
};

// Windows of rows that are computed at once.
long countResultsAtOnce(TilePlan const& plan, FoldNode const& node) {
  bool const areMany = node.step == 0 && node.length >= cMaxRowsAtOnce;
  return areMany && plan.kernels->limits.nbImageRows > cMaxRowsAtOnce ? cMaxRowsAtOnce : node.length >= 8 ? 8 : 4;
}

// The slabs of each node that one step computes.
long getNbSlabsAtOnce(TilePlan const& plan, FoldProgram const& program, SlabBox const& tile) {
  for (FoldNode const& node : program.getNodes())
    if (node.kind == Kinds::cRowsAtOnce) return std::max(cNbRowsAtOnce, countResultsAtOnce(plan, node));
  if (plan.isVolume) return 2;
  // Fewer calls for narrow rows, as long as those of a step stay in the first-level cache.
  long const nbBytes = tile.getNbCols() * plan.kernels->voxelSize;
  return nbBytes <= cMaxNarrowBytes ? cNbRowsAtOnce : nbBytes <= 2 * cMaxNarrowBytes ? cNbRowsAtOnce / 2 : 2;
}

class TileRun {
 public:
  TileRun(TilePlan const& plan, FoldProgram const& program, SlabBox const& tile, char* scratch, TileHost& host)
      : m_plan(plan),
        m_program(program),
        m_kernels(*plan.kernels),
        m_tile(tile),
        m_nbAtOnce(getNbSlabsAtOnce(plan, program, tile)),
        m_layout(program, plan.isVolume, tile, plan.image, plan.kernels->voxelSize, m_nbAtOnce, plan.isCopied),
        m_scratch(scratch + cCacheLine),
        m_host(host) {}

  bool run(bool isWatchful);

 private:
  struct Node {
    FoldNode const* node;
    NodeRing const* ring;
    std::vector<TapPlace> taps;
    TapPlace own;                 ///< where the values go
    std::vector<long> firstCols;  ///< of each tap: the first of the node's columns at which it is within the image
    std::vector<long> endCols;    ///< and the column behind the last one
    RowKernels::Ends ends;        ///< none where the taps have margins
    long after;                   ///< slabs that it is ahead of the result
    long nbCols;
    long maxNbRows;  ///< that are computed before the host is asked again
    long part = -1;  ///< of the rows to come that it prefetches
    long blockBegin;
    bool hasBlock = false;
  };

  void prepare();
  /** The image has no margins: where its rows end. */
  void findEnds(Node& node) const;
  /** Which node prefetches which part of the rows to come: all, a half or a quarter of each. */
  void sharePrefetch();
  TapPlace makePlace(int node, long dx, long firstCol) const;
  bool isSpecialUpTo(long endSlab);
  /** Asks the host from time to time whether the run goes on. */
  void noteWork(long nbVoxels);
  void copyUpTo(long endSlab);
  char const* getSourceRow(long slab, long row) const;
  void computeSlabs(Node& node, long firstSlab, long endSlab);
  /** Rows of a slab of a volume, or rows of a plane. */
  void foldRows(Node& node, long slab, long firstRow, long endRow);
  /** How a node uses the memory: it may prefetch a part of the rows that the next step reads first. */
  RowKernels::Traffic makeTraffic(Node const& node, long slab, long row) const;
  void foldRowsAtOnce(Node& node, long firstSlab, long nbResults);
  void foldRowByBlocks(Node& node, long slab);
  char const* locate(TapPlace const& place, long slab, long row, long& stride, long& nbRows) const;
  char const* locateInPlane(TapPlace const& place, long slab, long& stride, long& nbRows) const;
  static long getSlot(TapPlace const& place, long slab);
  char const* locateRow(TapPlace const& place, long slab) const;
  char* getOwnRow(Node const& node, long slab, long row) const;

  TilePlan const& m_plan;
  FoldProgram const& m_program;
  RowKernels const& m_kernels;
  SlabBox const m_tile;
  long const m_nbAtOnce;
  TileLayout const m_layout;
  char* const m_scratch;
  TileHost& m_host;
  std::vector<Node> m_nodes;
  std::vector<char const*> m_rows;
  std::vector<long> m_strides;
  long m_nextCopied = 0;
  int m_prefetchShift = 0;
  long m_nbUnwatched = 0;  ///< since the host was last asked
  long m_nextSeen = 0;
};

Tap makeTap(FoldNode const& node, long index) {
  Tap tap = node.taps.front();
  tap.dx += index * node.step;
  tap.dy += index;
  return tap;
}

void TileRun::prepare() {
  m_kernels.fillNeutral(m_scratch, m_layout.nbNeutralVoxels);
  std::size_t nbRows = 1;
  m_nodes.resize(m_program.getNbNodes());
  for (std::size_t i = 0; i < m_nodes.size(); ++i) {
    Node& node = m_nodes[i];
    node.node = &m_program.getNodes()[i];
    node.ring = &m_layout.rings[i];
    node.after = SlabReach(node.node->needed, m_plan.isVolume).slabsAfter;
    SlabBox const& computed = node.ring->computed;
    node.nbCols = computed.getNbCols();
    node.own = makePlace(static_cast<int>(i), 0, computed.firstCol);
    bool const isFold = node.node->kind == Kinds::cFold;
    bool const isOneTap = node.node->kind == Kinds::cColumnsAtOnce;
    long const nbTaps = isFold ? static_cast<long>(node.node->taps.size()) : isOneTap ? 1 : node.node->length;
    for (long j = 0; j < nbTaps; ++j) {
      Tap const tap = isFold ? node.node->taps[static_cast<std::size_t>(j)] : makeTap(*node.node, j);
      TapPlace place{};
      if (tap.node != cNeutralNode) place = makePlace(tap.node, tap.dx, computed.firstCol);
      place.rowShift = getRowShift(tap, m_plan.isVolume);
      place.slabShift = getSlabShift(tap, m_plan.isVolume);
      node.taps.push_back(place);
    }
    node.maxNbRows = std::max(cMaxNbUnwatched / std::max(nbTaps * node.nbCols, 1L), 1L);
    nbRows = std::max(nbRows, static_cast<std::size_t>(nbTaps + cMaxRowsAtOnce));
    if (isFold && !m_plan.isCopied) findEnds(node);
    if (!node.ring->hasMemory || node.nbCols <= 0) continue;
    // Margins that the node doesn't compute are read as neutral.
    NodeRing const& ring = *node.ring;
    long const nbBefore = computed.firstCol - ring.firstCol, nbAfter = ring.nbCols - nbBefore - node.nbCols;
    for (long slot = 0; slot < ring.nbSlabs; ++slot)
      for (long row = 0; row < ring.nbRows; ++row) {
        char* const begin = m_scratch + ring.offset + slot * ring.slabStride + row * ring.rowStride;
        m_kernels.fillNeutral(begin, nbBefore);
        m_kernels.fillNeutral(begin + (nbBefore + node.nbCols) * m_kernels.voxelSize, nbAfter);
        // The row is touched for the first time, which takes far longer than its values.
        noteWork(cPageFault);
      }
  }
  if (m_plan.isPrefetched) sharePrefetch();
  m_rows.resize(nbRows);
  m_strides.resize(nbRows);
  SlabBox const& read = m_layout.rings.front().computed;
  m_nextCopied = m_nextSeen = read.firstSlab;
}

void TileRun::findEnds(Node& node) const {
  long const firstCol = node.ring->computed.firstCol;
  RowKernels::Ends& ends = node.ends;
  for (Tap const& tap : node.node->taps) {
    if (tap.node != 0) continue;
    ends.nbLeft = std::max(ends.nbLeft, m_plan.image.firstCol - firstCol - tap.dx);
    ends.nbRight = std::max(ends.nbRight, firstCol + node.nbCols + tap.dx - m_plan.image.endCol);
  }
  ends.nbLeft = std::min(ends.nbLeft, node.nbCols);
  ends.nbRight = std::min(ends.nbRight, node.nbCols - ends.nbLeft);
  if (ends.nbLeft + ends.nbRight == 0) return;
  for (Tap const& tap : node.node->taps) {
    bool const isOfImage = tap.node == 0;
    node.firstCols.push_back(isOfImage ? m_plan.image.firstCol - firstCol - tap.dx : 0);
    node.endCols.push_back(isOfImage ? m_plan.image.endCol - firstCol - tap.dx : node.nbCols);
  }
  ends.first = node.firstCols.data();
  ends.end = node.endCols.data();
}

void TileRun::sharePrefetch() {
  long nbParts = 0;
  for (std::size_t i = 1; i < m_nodes.size() && nbParts < cMaxNbPrefetchParts; ++i) m_nodes[i].part = nbParts++;
  while (nbParts >= 2L << m_prefetchShift) ++m_prefetchShift;
  for (Node& node : m_nodes)
    if (node.part >= 1L << m_prefetchShift) node.part = -1;
}

TapPlace TileRun::makePlace(int index, long dx, long firstCol) const {
  NodeRing const& ring = m_layout.rings[static_cast<std::size_t>(index)];
  bool const isImage = index == 0;
  TapPlace place{};
  place.values = ring.computed;
  if (ring.hasMemory) {
    place.base = m_scratch + ring.offset + (firstCol + dx - ring.firstCol) * m_kernels.voxelSize;
    place.rowStride = ring.rowStride;
    place.slabStride = ring.slabStride;
    place.firstRow = ring.firstRow;
    // Any slab before all that are read.
    place.firstSlot = m_tile.firstSlab - m_layout.lead - 2 * ring.nbSlabs - 2 * m_nbAtOnce;
    bool const isPower = (ring.nbSlabs & (ring.nbSlabs - 1)) == 0;
    place.nbSlots = ring.nbSlabs;
    place.slotMask = isPower ? static_cast<unsigned long>(ring.nbSlabs - 1) : 0;
  } else {
    SlabImage const& image = isImage ? m_plan.source : m_plan.target;
    place.nbSlots = cForever;
    place.slotMask = ~0UL;
    place.base = image.voxels + (firstCol + dx) * m_kernels.voxelSize;
    place.rowStride = image.rowStride;
    place.slabStride = image.slabStride;
  }
  return place;
}

char const* TileRun::locate(TapPlace const& place, long slab, long row, long& stride, long& nbRows) const {
  slab += place.slabShift;
  row += place.rowShift;
  SlabBox const& values = place.values;
  stride = 0;
  nbRows = cForever;
  if (slab < values.firstSlab || slab >= values.endSlab || row >= values.endRow) return m_scratch;
  if (row < values.firstRow) {
    nbRows = values.firstRow - row;
    return m_scratch;
  }
  stride = place.rowStride;
  nbRows = values.endRow - row;
  return place.base + getSlot(place, slab) * place.slabStride + (row - place.firstRow) * place.rowStride;
}

// A plane's rows are slabs of one row.
char const* TileRun::locateInPlane(TapPlace const& place, long slab, long& stride, long& nbRows) const {
  slab += place.slabShift;
  stride = 0;
  nbRows = cForever;
  if (slab >= place.values.endSlab) return m_scratch;
  if (slab < place.values.firstSlab) {
    nbRows = place.values.firstSlab - slab;
    return m_scratch;
  }
  long const slot = getSlot(place, slab);
  stride = place.slabStride;
  nbRows = std::min(place.values.endSlab - slab, place.nbSlots - slot);
  return place.base + slot * stride;
}

long TileRun::getSlot(TapPlace const& place, long slab) {
  auto const index = static_cast<unsigned long>(slab - place.firstSlot);
  auto const nbSlots = static_cast<unsigned long>(place.nbSlots);
  return static_cast<long>(place.slotMask != 0 || nbSlots == 1 ? index & place.slotMask : index % nbSlots);
}

char const* TileRun::locateRow(TapPlace const& place, long slab) const {
  long stride, nbRows;
  return locate(place, slab, 0, stride, nbRows);
}

char* TileRun::getOwnRow(Node const& node, long slab, long row) const {
  long stride, nbRows;
  return const_cast<char*>(locate(node.own, slab, row, stride, nbRows));
}

char const* TileRun::getSourceRow(long slab, long row) const {
  long const firstCol = m_layout.rings.front().computed.firstCol;
  if (m_plan.isCopied)
    if (char const* const kept = m_host.findKeptRow(m_tile, slab, row)) return kept + firstCol * m_kernels.voxelSize;
  return m_plan.source.getRow(slab, row) + firstCol * m_kernels.voxelSize;
}

// Looks at the rows that are about to be read for the first time.
bool TileRun::isSpecialUpTo(long endSlab) {
  SlabBox const& read = m_layout.rings.front().computed;
  for (endSlab = std::min(endSlab, read.endSlab); m_nextSeen < endSlab; ++m_nextSeen)
    for (long row = read.firstRow; row < read.endRow; ++row)
      if (m_kernels.hasSpecialReals(getSourceRow(m_nextSeen, row), read.getNbCols())) return true;
  return false;
}

void TileRun::copyUpTo(long endSlab) {
  Node const& image = m_nodes.front();
  SlabBox const& read = image.ring->computed;
  auto const nbBytes = static_cast<std::size_t>(std::max(0L, image.nbCols * m_kernels.voxelSize));
  for (endSlab = std::min(endSlab, read.endSlab); m_nextCopied < endSlab; ++m_nextCopied)
    for (long row = read.firstRow; row < read.endRow; ++row)
      std::memcpy(getOwnRow(image, m_nextCopied, row), getSourceRow(m_nextCopied, row), nbBytes);
}

void TileRun::noteWork(long nbVoxels) {
  m_nbUnwatched += nbVoxels;
  if (m_nbUnwatched < cMaxNbUnwatched) return;
  m_nbUnwatched = 0;
  m_host.step(0);
}

void TileRun::foldRows(Node& node, long slab, long firstRow, long endRow) {
  long const nbTaps = static_cast<long>(node.taps.size());
  auto const find = [&](TapPlace const& place, long row, long& stride, long& nbRows) {
    return m_plan.isVolume ? locate(place, slab, row, stride, nbRows) : locateInPlane(place, row, stride, nbRows);
  };
  // Stretches of rows in which no tap enters or leaves its values, nor the other end of its ring.
  for (long row = firstRow; row < endRow;) {
    long ownStride, nbRows;
    char* const own = const_cast<char*>(find(node.own, row, ownStride, nbRows));
    nbRows = std::min({nbRows, endRow - row, node.maxNbRows});
    for (long i = 0; i < nbTaps; ++i) {
      auto const at = static_cast<std::size_t>(i);
      long nbTapRows;
      m_rows[at] = find(node.taps[at], row, m_strides[at], nbTapRows);
      nbRows = std::min(nbRows, nbTapRows);
    }
    RowKernels::Traffic const traffic = m_plan.isVolume ? makeTraffic(node, slab, row) : makeTraffic(node, row, 0);
    if (node.node->kind == Kinds::cColumnsAtOnce)
      m_kernels.foldColumnsAtOnce(m_rows[0], m_strides[0], node.node->length, own, ownStride, nbRows, node.nbCols,
                                  traffic);
    else
      m_kernels.fold(m_rows.data(), m_strides.data(), nbTaps, own, ownStride, nbRows, node.nbCols, traffic,
                     node.ends);
    row += nbRows;
    noteWork(nbTaps * nbRows * node.nbCols);
  }
}

RowKernels::Traffic TileRun::makeTraffic(Node const& node, long slab, long row) const {
  RowKernels::Traffic traffic;
  traffic.isPastCaches = m_plan.isPastCaches && &node == &m_nodes.back();
  if (node.part < 0) return traffic;
  Node const& image = m_nodes.front();
  SlabBox const& read = image.ring->computed;
  long const next = slab - node.after + image.after + m_nbAtOnce;
  if (next < read.firstSlab || next >= read.endSlab || row < read.firstRow || row >= read.endRow) return traffic;
  traffic.shift = m_prefetchShift;
  traffic.stride = m_plan.isVolume ? m_plan.source.rowStride : m_plan.source.slabStride;
  traffic.row = getSourceRow(next, row) + (read.getNbCols() * m_kernels.voxelSize >> m_prefetchShift) * node.part;
  return traffic;
}

void TileRun::foldRowsAtOnce(Node& node, long firstSlab, long nbResults) {
  long const length = node.node->length, step = node.node->step;
  // Result i stands i * step columns further right than result 0; all rows are read from the same column on.
  long const size = m_kernels.voxelSize, slant = (nbResults - 1) * step, left = step > 0 ? -slant : 0;
  for (long i = 0; i < length + nbResults - 1; ++i) {
    TapPlace place = node.taps.front();
    place.slabShift += i;
    char const* const row = locateRow(place, firstSlab);
    // All of the neutral row is the same.
    m_rows[static_cast<std::size_t>(i)] = row == m_scratch ? row : row + (i * step + left) * size;
  }
  char* outs[cMaxRowsAtOnce];
  for (long i = 0; i < nbResults; ++i) outs[i] = getOwnRow(node, firstSlab + i, 0) + (i * step + left) * size;
  m_kernels.foldRowsAtOnce(m_rows.data(), length, outs, nbResults, node.nbCols + (slant < 0 ? -slant : slant),
                           makeTraffic(node, firstSlab, 0));
}

void TileRun::foldRowByBlocks(Node& node, long slab) {
  long const length = node.node->length, rowStride = node.ring->rowStride;
  char* const suffixes = m_scratch + node.ring->blocksOffset;
  char* const prefix = suffixes + length * rowStride;
  auto const suffixOf = [suffixes, rowStride](long i) { return suffixes + i * rowStride; };
  long inBlock = slab - node.blockBegin;
  if (!node.hasBlock || inBlock >= length) {
    node.hasBlock = true;
    node.blockBegin = slab;
    inBlock = 0;
    long const strides[2] = {0, 0};
    for (long i = length; i-- > 0;) {
      char const* rows[2] = {locateRow(node.taps[static_cast<std::size_t>(i)], slab), suffixOf(i + 1)};
      m_kernels.fold(rows, strides, i + 1 == length ? 1 : 2, suffixOf(i), 0, 1, node.nbCols, {}, {});
    }
  }
  char* const out = getOwnRow(node, slab, 0);
  if (inBlock == 0) {
    std::memcpy(out, suffixOf(0), static_cast<std::size_t>(node.nbCols * m_kernels.voxelSize));
    return;
  }
  m_kernels.foldBlockRow(suffixOf(inBlock), locateRow(node.taps.back(), slab), prefix, inBlock == 1, out, node.nbCols,
                         makeTraffic(node, slab, 0));
}

void TileRun::computeSlabs(Node& node, long firstSlab, long endSlab) {
  if (node.nbCols <= 0) return;
  for (long slab = firstSlab; slab < endSlab;) {
    long const nbLeft = endSlab - slab;
    if (node.node->kind == Kinds::cRowsByBlocks) {
      foldRowByBlocks(node, slab++);
    } else if (node.node->kind == Kinds::cRowsAtOnce && nbLeft >= 4 && node.node->length >= 4 &&
               node.nbCols >= m_kernels.minRowsAtOnce) {
      long nbResults = countResultsAtOnce(m_plan, *node.node);
      while (nbResults > nbLeft) nbResults /= 2;
      foldRowsAtOnce(node, slab, nbResults);
      slab += nbResults;
    } else if (m_plan.isVolume) {
      foldRows(node, slab++, node.ring->computed.firstRow, node.ring->computed.endRow);
    } else {
      foldRows(node, 0, slab, endSlab);
      return;
    }
  }
}

bool TileRun::run(bool isWatchful) {
  prepare();
  if (m_plan.isCopied && isWatchful && isSpecialUpTo(cForever)) return false;
  long const imageAfter = m_nodes.front().after;
  // Steps of narrow rows are short: several are announced together.
  long const nbTogether = m_nbAtOnce * (cMinNbAnnounced / (m_nbAtOnce * m_tile.getNbCols() * m_tile.getNbRows()) + 1);
  long announced = m_tile.firstSlab - m_layout.lead;
  for (long slab = announced; slab < m_tile.endSlab; slab += m_nbAtOnce) {
    if (slab == announced) {
      announced += nbTogether;
      m_host.step(std::max(std::min(announced, m_tile.endSlab) - std::max(slab, m_tile.firstSlab), 0L));
    }
    long const endRead = slab + m_nbAtOnce + imageAfter;
    if (m_plan.isCopied)
      copyUpTo(endRead);
    else if (isWatchful && isSpecialUpTo(endRead))
      return false;
    for (std::size_t i = 1; i < m_nodes.size(); ++i) {
      Node& node = m_nodes[i];
      SlabBox const& computed = node.ring->computed;
      computeSlabs(node, std::max(slab + node.after, computed.firstSlab),
                   std::min(slab + node.after + m_nbAtOnce, computed.endSlab));
    }
  }
  if (m_plan.isPastCaches) m_kernels.flush();
  return true;
}

}  // namespace

long countScratchBytes(TilePlan const& plan, FoldProgram const& program, SlabBox const& tile) {
  return TileLayout(program, plan.isVolume, tile, plan.image, plan.kernels->voxelSize,
                    getNbSlabsAtOnce(plan, program, tile), plan.isCopied)
      .nbBytes;
}

bool runTile(TilePlan const& plan, FoldProgram const& program, SlabBox const& tile, bool isWatchful, char* scratch,
             TileHost& host) {
  return TileRun(plan, program, tile, scratch, host).run(isWatchful);
}

}  // namespace pxl::wide
