#include "wide/FirFilter.h"

#include <tbb/enumerable_thread_specific.h>
#include <tbb/task_arena.h>

#include <algorithm>

#include "wide/FirTile.h"
#include "wide/PastCaches.h"
#include "wide/RunParts.h"
#include "wide/Scratch.h"
#include "wide/Slices.h"
#include "wide/TileCut.h"

namespace pxl::wide {
namespace {

// What should stay in the second-level cache of a thread.
constexpr long cMaxRingBytes = 1024 * 1024;
constexpr long cMinNbColsOfStrip = 1024;

class FirCut : public TileCut {
 public:
  FirCut(FirTaps const& taps, FirKernels const& kernels, FirImages const& images)
      : TileCut(BandCut{images.isVolume, images.getBox(), 1, 1}), m_taps(taps), m_kernels(kernels) {
    Reach const& reach = taps.getReach();
    long const nbThreads = tbb::this_task_arena::max_concurrency();
    long const nbSlices = countSlices(isVolume, images.source);
    long const nbCols = image.getNbCols(), nbRows = isVolume ? image.getNbRows() : image.getNbSlabs();
    long const nbPlans = isVolume ? image.getNbSlabs() : 1;
    // In place each edge of a band has rows that are kept.
    long const nbWanted = divideUp(nbThreads * (images.isInPlace() ? 1 : cNbTilesPerThread), nbSlices);
    AskedSizes const asked = getAskedSizes();
    if (isVolume) {
      setBands(std::max(std::min(cNbRowsOfVolumeTile, divideUp(nbRows, nbWanted)), cMinNbRowsOfVolumeTile));
      while (bandSize > cMinNbRowsOfVolumeTile && countScratchBytes() > cMaxRingBytes) setBands(bandSize / 2);
    } else {
      setBands(std::max(divideUp(nbRows, nbWanted), divideUp(cMinNbVoxelsOfTile, std::max(nbCols, 1L))));
    }
    if (asked.band > 0) setBands(asked.band);
    if (images.isInPlace()) return;
    if (isVolume) {
      long const minPlans = std::max(cMinNbPlans, 4 * (reach.before + reach.after));
      setParts(asked.part > 0 ? asked.part : std::max(divideUp(nbPlans, divideUp(nbWanted, nbBands)), minPlans));
    } else if (asked.part > 0) {
      setParts(asked.part);
    } else {
      while (partSize > 2 * cMinNbColsOfStrip && countScratchBytes() > cMaxRingBytes) {
        long const before = partSize;
        setParts(divideUp(partSize, 2));
        if (partSize == before) break;
      }
    }
  }

  long countScratchBytes() const { return wide::countScratchBytes(m_taps, m_kernels, image, getTile(0)); }
  long countKeptBytes(FirImages const& images) const {
    return images.isInPlace() ? KeptRows::countBytes(*this, m_taps.getReach(), m_kernels.voxelSize) : 0;
  }

 private:
  void setBands(long size) {
    long const nbRows = isVolume ? image.getNbRows() : image.getNbSlabs();
    bandSize = std::clamp(size, 1L, std::max(nbRows, 1L));
    nbBands = divideUp(nbRows, bandSize);
  }

  // Each strip is wider than what is mirrored at its ends.
  void setParts(long size) {
    Reach const& reach = m_taps.getReach();
    long const nbAll = isVolume ? image.getNbSlabs() : image.getNbCols();
    long const minSize = isVolume ? 1 : reach.left + reach.right + 1;
    nbParts = std::max(nbAll / std::max(size, minSize), 1L);
    partSize = divideUp(nbAll, nbParts);
    while (nbParts > 1 && nbAll - (nbParts - 1) * partSize < minSize) partSize = divideUp(nbAll, --nbParts);
  }

  FirTaps const& m_taps;
  FirKernels const& m_kernels;
};

}  // namespace

FirImages::FirImages(ImageModel const& input, ImageModel const& output, bool isOfVolume)
    : source(getMemoryImage(input)), target(getMemoryImage(output)), isVolume(isOfVolume) {
  if (isVolume) return;
  source.sizes[cPlans] = std::min(source.sizes[cPlans], 1L);
  target.sizes[cPlans] = source.sizes[cPlans];
}

SlabBox FirImages::getBox() const { return getSliceBox(isVolume, source); }

unsigned long countExtraBytes(FirTaps const& taps, FirKernels const& kernels, FirImages const& images) {
  if (isEmpty(images.source)) return 0;
  FirCut const cut(taps, kernels, images);
  long const nbThreads = tbb::this_task_arena::max_concurrency();
  return static_cast<unsigned long>(cut.countScratchBytes() * nbThreads + cut.countKeptBytes(images));
}

void FirFilter::run() {
  unsigned long const nbVoxels = countVoxels(m_images.source);
  setMaxProgress(nbVoxels);
  if (nbVoxels == 0) return;
  bool const isVolume = m_images.isVolume;
  FirCut const cut(m_taps, m_kernels, m_images);
  long const nbSlices = countSlices(isVolume, m_images.source), nbTiles = cut.getNbTiles();
  long const nbScratchBytes = cut.countScratchBytes();
  bool const isPastCaches =
      !m_images.isInPlace() && isLargerThanCaches(nbVoxels * static_cast<unsigned long>(m_kernels.voxelSize));
  tbb::enumerable_thread_specific<Scratch> scratch;
  auto const runSlices = [&](KeptRows const* kept, long firstSlice, long nbOfThem) {
    runParts(*this, nbOfThem * nbTiles, [&](long tile) {
      m_views.check();
      long const slice = firstSlice + tile / nbTiles;
      FirPlan const plan{m_taps,
                         m_kernels,
                         m_images.getBox(),
                         getSlice(isVolume, m_images.source, slice),
                         getSlice(isVolume, m_images.target, slice),
                         isPastCaches};
      runFirTile(plan, cut.getTile(tile % nbTiles), kept, scratch.local().get(nbScratchBytes), m_views, m_progress);
    });
  };
  if (!m_images.isInPlace() || cut.nbBands == 1) return runSlices(nullptr, 0, nbSlices);
  KeptRows kept(cut, m_taps.getReach(), m_kernels.voxelSize);
  for (long slice = 0; slice < nbSlices; ++slice) {
    kept.keep(getSlice(isVolume, m_images.source, slice));
    runSlices(&kept, slice, 1);
  }
}

}  // namespace pxl::wide
