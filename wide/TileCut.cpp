#include "wide/TileCut.h"

#include <algorithm>
#include <cstdlib>

namespace pxl::wide {
namespace {

// Halos of bands are computed twice: bands are at least this many times as high.
constexpr long cBandsPerHalo = 4;
constexpr long cMaxNbRows = 1024;
// One NaN sends a whole tile the long way.
constexpr long cMaxNbRowsOfReals = 128;
// What should stay in the second-level cache of a thread.
constexpr long cMaxScratchBytes = 1024 * 1024;
constexpr long cMinNbColsOfStrip = 4096;

}  // namespace

AskedSizes getAskedSizes() {
  char const* const text = std::getenv("PXLWORKS_WIDE_TILE");
  if (!text) return {0, 0};
  char* rest = nullptr;
  long const band = std::strtol(text, &rest, 10);
  return {band, *rest == ':' ? std::strtol(rest + 1, nullptr, 10) : 0};
}

TileCut::TileCut(BandCut const& bands)
    : BandCut(bands), nbParts(1), partSize(isVolume ? image.getNbSlabs() : image.getNbCols()) {}

TileCut::TileCut(ElementPrograms const& programs, TilePlan const& plan, VoxelTypes type, long nbSlices,
                 long nbThreads)
    : BandCut{plan.isVolume, plan.image, 1, 0}, nbParts(1), partSize(0) {
  Reach const& reach = programs.fast.getImageReach();
  long const nbRows = isVolume ? image.getNbRows() : image.getNbSlabs();
  long const nbCols = image.getNbCols(), nbPlans = image.getNbSlabs();
  long const nbWanted = divideUp(nbThreads * cNbTilesPerThread, nbSlices);
  long const halo = reach.up + reach.down;
  long const perRow = nbCols * (isVolume ? nbPlans : 1);
  long const minRows = std::max(divideUp(cMinNbVoxelsOfTile, std::max(perRow, 1L)), cBandsPerHalo * halo);
  partSize = isVolume ? nbPlans : nbCols;
  if (isVolume) {
    bandSize = std::max(std::min(cNbRowsOfVolumeTile, divideUp(nbRows, nbWanted)), cMinNbRowsOfVolumeTile);
    while (bandSize > cMinNbRowsOfVolumeTile && countScratchBytes(programs, plan, type) > 2 * cMaxScratchBytes)
      bandSize /= 2;
    bandSize = std::max(bandSize, halo);
  } else {
    long const maxRows = programs.needsOrdered(type) ? cMaxNbRowsOfReals : cMaxNbRows;
    bandSize = std::max(std::min(divideUp(nbRows, nbWanted), maxRows), minRows);
  }
  // All threads have something to do, even if it is more in all.
  long const forAll = divideUp(nbRows, divideUp(nbThreads, nbSlices));
  if (forAll >= halo && perRow * nbRows > 2 * cMinNbVoxelsOfTile) bandSize = std::min(bandSize, std::max(forAll, 1L));
  bandSize = std::clamp(bandSize, 1L, std::max(nbRows, 1L));
  nbBands = divideUp(nbRows, bandSize);
  if (isVolume && !plan.isCopied) {
    long const nbRuns = divideUp(nbWanted, nbBands);
    long const minPlans = std::max(cMinNbPlans, cBandsPerHalo * (reach.before + reach.after));
    partSize = std::clamp(divideUp(nbPlans, nbRuns), std::min(minPlans, nbPlans), nbPlans);
  } else if (!plan.isCopied) {
    while (partSize > 2 * cMinNbColsOfStrip && partSize > 4 * cBandsPerHalo * (reach.left + reach.right) &&
           countScratchBytes(programs, plan, type) > cMaxScratchBytes)
      partSize = divideUp(partSize, 2);
  }
  AskedSizes const asked = getAskedSizes();
  if (asked.band > 0) bandSize = std::clamp(asked.band, 1L, std::max(nbRows, 1L));
  if (asked.part > 0 && !plan.isCopied) partSize = std::min(partSize, asked.part);
  nbBands = divideUp(nbRows, bandSize);
  nbParts = divideUp(isVolume ? nbPlans : nbCols, partSize);
}

SlabBox TileCut::getTile(long index) const {
  SlabBox tile = image;
  long const firstInBands = index / nbParts * bandSize, firstInParts = index % nbParts * partSize;
  auto const cut = [](long& first, long& end, long begin, long size) {
    first = begin;
    end = std::min(end, begin + size);
  };
  if (isVolume) {
    cut(tile.firstRow, tile.endRow, firstInBands, bandSize);
    cut(tile.firstSlab, tile.endSlab, firstInParts, partSize);
  } else {
    cut(tile.firstSlab, tile.endSlab, firstInBands, bandSize);
    cut(tile.firstCol, tile.endCol, firstInParts, partSize);
  }
  return tile;
}

long TileCut::countScratchBytes(ElementPrograms const& programs, TilePlan const& plan, VoxelTypes type) const {
  SlabBox const tile = getTile(0);
  long nbBytes = wide::countScratchBytes(plan, programs.fast, tile);
  if (programs.needsOrdered(type)) nbBytes = std::max(nbBytes, wide::countScratchBytes(plan, programs.ordered, tile));
  return nbBytes;
}

}  // namespace pxl::wide
