#include "wide/TileLayout.h"

#include <algorithm>

#include "wide/RowKernels.h"

namespace pxl::wide {
namespace {

// Windows of slanted rows run over the end of their rows by this many voxels on either side.
constexpr long cSlantSlack = 8;

constexpr long cMaxMaskedSlabs = 128;

long toPower(long value) {
  long power = 1;
  while (power < value) power *= 2;
  return power;
}

// Rows that lie a multiple of this apart compete for the same lines of the first-level cache.
long stagger(long stride) { return stride % 2048 == 0 ? stride + cCacheLine : stride; }

SlabBox getComputed(FoldNode const& node, bool isVolume, SlabBox const& box, SlabBox const& image) {
  SlabReach const needed(node.needed, isVolume), beyond(node.beyond, isVolume);
  return {std::max(box.firstCol - needed.left, image.firstCol - beyond.left),
          std::min(box.endCol + needed.right, image.endCol + beyond.right),
          std::max(box.firstRow - needed.rowsBefore, image.firstRow - beyond.rowsBefore),
          std::min(box.endRow + needed.rowsAfter, image.endRow + beyond.rowsAfter),
          std::max(box.firstSlab - needed.slabsBefore, image.firstSlab - beyond.slabsBefore),
          std::min(box.endSlab + needed.slabsAfter, image.endSlab + beyond.slabsAfter)};
}

}  // namespace

TileLayout::TileLayout(FoldProgram const& program, bool isVolume, SlabBox const& box, SlabBox const& image,
                       long voxelSize, long nbAtOnce, bool isCopied)
    : rings(program.getNbNodes()), nbNeutralVoxels(0), nbBytes(0), lead(0) {
  auto const& nodes = program.getNodes();
  // What is read of each node lags behind what is computed of it.
  std::vector<long> nbSlabs(nodes.size(), nbAtOnce);
  for (FoldNode const& node : nodes) {
    long const after = SlabReach(node.needed, isVolume).slabsAfter;
    auto const visit = [&](Tap const& tap) {
      auto const of = static_cast<std::size_t>(tap.node);
      long const ahead = SlabReach(nodes[of].needed, isVolume).slabsAfter + nbAtOnce - 1;
      nbSlabs[of] = std::max(nbSlabs[of], ahead - (after + getSlabShift(tap, isVolume)) + 1);
    };
    visitExtremeTaps(node, visit);
  }
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    SlabReach const needed(nodes[i].needed, isVolume);
    lead = std::max(lead, needed.slabsBefore + needed.slabsAfter);
    nbNeutralVoxels = std::max(nbNeutralVoxels, box.getNbCols() + needed.left + needed.right + 2 * cSlantSlack);
  }
  lead = roundUp(lead, nbAtOnce);
  nbBytes = roundUp(nbNeutralVoxels * voxelSize, cCacheLine);
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    NodeRing& ring = rings[i];
    SlabReach const needed(nodes[i].needed, isVolume);
    ring = {};
    ring.computed = getComputed(nodes[i], isVolume, box, image);
    ring.hasMemory = i == 0 ? isCopied : i + 1 < nodes.size();
    // Slots of short rings are found by a mask.
    ring.nbSlabs = nbSlabs[i];
    if (!isVolume && ring.nbSlabs <= cMaxMaskedSlabs) ring.nbSlabs = toPower(ring.nbSlabs);
    ring.nbRows = box.getNbRows() + needed.rowsBefore + needed.rowsAfter;
    ring.firstRow = box.firstRow - needed.rowsBefore;
    long const pad = roundUp((needed.left + cSlantSlack) * voxelSize, cCacheLine) / voxelSize;
    ring.firstCol = box.firstCol - pad;
    ring.nbCols = pad + box.getNbCols() + needed.right + cSlantSlack;
    ring.rowStride = roundUp(ring.nbCols * voxelSize, cCacheLine);
    if (!isVolume) ring.rowStride = stagger(ring.rowStride);
    ring.slabStride = isVolume ? stagger(ring.rowStride * ring.nbRows) : ring.rowStride;
    if (nodes[i].kind == FoldNode::Kinds::cRowsByBlocks) {
      ring.blocksOffset = nbBytes;
      nbBytes += (nodes[i].length + 1) * ring.rowStride;
    }
    ring.offset = nbBytes;
    if (ring.hasMemory) nbBytes += ring.nbSlabs * ring.slabStride + cCacheLine;
  }
  nbBytes += cCacheLine + cRowSlack;  // before and behind all rows
}

}  // namespace pxl::wide
