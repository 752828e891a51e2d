#include "wide/ProgramFilter.h"

#include <tbb/enumerable_thread_specific.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>

#include "Core/private/Access/Block.h"
#include "Core/private/Filters/FilterCancel.h"
#include "Core/private/Filters/RunBlocks.h"
#include "wide/KeptRows.h"

namespace pxl::wide {
namespace {

constexpr std::size_t cCacheLine = 64;

struct Free {
  void operator()(char* memory) const { std::free(memory); }
};

// The scratch memory of a thread, made on first use.
class Scratch {
 public:
  char* get(long nbBytes) {
    if (!m_memory) {
      std::size_t const size = (static_cast<std::size_t>(nbBytes) + cCacheLine - 1) / cCacheLine * cCacheLine;
      m_memory.reset(static_cast<char*>(std::aligned_alloc(cCacheLine, std::max(size, cCacheLine))));
      if (!m_memory) throw std::bad_alloc();
    }
    return m_memory.get();
  }

 private:
  std::unique_ptr<char, Free> m_memory;
};

// Slices are planes of two-dimensional programs, else volumes.
long countSlices(bool isVolume, MemoryImage const& image) {
  return (isVolume ? 1 : image.sizes[cPlans]) * image.sizes[cSequence] * image.sizes[cSpectralSeries];
}

SlabImage getSlice(bool isVolume, MemoryImage const& image, long slice) {
  long const nbPlans = isVolume ? 1 : image.sizes[cPlans];
  long const plan = slice % nbPlans, sequence = slice / nbPlans % image.sizes[cSequence];
  long const spectral = slice / nbPlans / image.sizes[cSequence];
  char* const voxels = image.voxels + plan * image.strides[cPlans] + sequence * image.strides[cSequence] +
                       spectral * image.strides[cSpectralSeries];
  if (isVolume) return {voxels, image.strides[cRows], image.strides[cPlans]};
  return {voxels, 0, image.strides[cRows]};
}

TilePlan makePlan(bool isVolume, RowKernels const& kernels, ProgramImages const& images, long slice) {
  long const* const sizes = images.source.sizes;
  SlabBox const image{0, sizes[cColumns], 0, isVolume ? sizes[cRows] : 1, 0, isVolume ? sizes[cPlans] : sizes[cRows]};
  return {
      isVolume, image,           getSlice(isVolume, images.source, slice), getSlice(isVolume, images.target, slice),
      &kernels, images.isInPlace};
}

bool isEmpty(MemoryImage const& image) {
  return std::any_of(image.sizes, image.sizes + cNbComponents, [](long size) { return size == 0; });
}

TileCut makeCut(ElementPrograms const& programs, RowKernels const& kernels, ProgramImages const& images) {
  return TileCut(programs, makePlan(programs.isVolume, kernels, images, 0), images.type,
                 countSlices(programs.isVolume, images.source), tbb::this_task_arena::max_concurrency());
}

long countKeptBytes(TileCut const& cut, ElementPrograms const& programs, RowKernels const& kernels,
                    ProgramImages const& images) {
  return images.isInPlace ? KeptRows::countBytes(cut, programs.fast.getImageReach(), kernels.voxelSize) : 0;
}

}  // namespace

unsigned long countExtraBytes(ElementPrograms const& programs, RowKernels const& kernels,
                              ProgramImages const& images) {
  if (isEmpty(images.source)) return 0;
  TileCut const cut = makeCut(programs, kernels, images);
  TilePlan const plan = makePlan(programs.isVolume, kernels, images, 0);
  long const nbThreads = tbb::this_task_arena::max_concurrency();
  return static_cast<unsigned long>(cut.countScratchBytes(programs, plan, images.type) * nbThreads +
                                    countKeptBytes(cut, programs, kernels, images));
}

/** Some slices of a run, whose tiles are computed side by side. */
class ProgramFilter::Tiles {
 public:
  Tiles(ProgramFilter& filter, TileCut const& cut, KeptRows const* kept, long firstSlice)
      : m_filter(filter), m_cut(cut), m_kept(kept), m_firstSlice(firstSlice) {}

  void run(long nbSlices) const {
    access::Block2d const tiles(0, nbSlices * m_cut.getNbTiles(), 1, 0, 1, 1, 0, 0, 0);
    details::runBlocks(tiles, *this, m_filter.m_taskGroupContext);
    details::throwIfCancelled(m_filter);
  }

  void operator()(access::Block2d const& block) const {
    for (long tile = block.rowsBegin(); tile < block.rowsEnd(); ++tile)
      runOne(m_firstSlice + tile / m_cut.getNbTiles(), m_cut.getTile(tile % m_cut.getNbTiles()));
  }

 private:
  class Host final : public TileHost {
   public:
    Host(ProgramFilter& filter, KeptRows const* kept, long nbVoxelsPerSlab)
        : m_filter(filter), m_kept(kept), m_nbVoxelsPerSlab(nbVoxelsPerSlab) {}

    void step(long nbSlabs) override {
      m_filter.m_check(m_filter.m_checked);
      m_nbDone += nbSlabs;
      if (m_nbDone <= m_nbReported) return;
      m_filter.m_progress.fetch_add(static_cast<unsigned long>((m_nbDone - m_nbReported) * m_nbVoxelsPerSlab));
      m_nbReported = m_nbDone;
    }
    char const* findKeptRow(SlabBox const& tile, long slab, long row) const override {
      return m_kept ? m_kept->find(tile, slab, row) : nullptr;
    }
    /** What was reported stays so. */
    void beginAgain() { m_nbDone = 0; }

   private:
    ProgramFilter& m_filter;
    KeptRows const* m_kept;
    long m_nbVoxelsPerSlab;
    long m_nbDone = 0;
    long m_nbReported = 0;
  };

  void runOne(long slice, SlabBox const& tile) const {
    ElementPrograms const& programs = m_filter.m_programs;
    VoxelTypes const type = m_filter.m_images.type;
    TilePlan const plan = makePlan(programs.isVolume, m_filter.m_kernels, m_filter.m_images, slice);
    char* const scratch = m_scratch.local().get(m_cut.countScratchBytes(programs, plan, type));
    Host host(m_filter, m_kept, tile.getNbCols() * tile.getNbRows());
    if (runTile(plan, programs.fast, tile, programs.needsOrdered(type), scratch, host)) return;
    host.beginAgain();
    runTile(plan, programs.ordered, tile, false, scratch, host);
  }

  ProgramFilter& m_filter;
  TileCut const& m_cut;
  KeptRows const* m_kept;
  long m_firstSlice;
  mutable tbb::enumerable_thread_specific<Scratch> m_scratch;
};

void ProgramFilter::run() {
  MemoryImage const& source = m_images.source;
  long nbVoxels = 1;
  for (long size : source.sizes) nbVoxels *= size;
  setMaxProgress(static_cast<unsigned long>(nbVoxels));
  if (isEmpty(source)) return;
  long const nbSlices = countSlices(m_programs.isVolume, source);
  TileCut const cut = makeCut(m_programs, m_kernels, m_images);
  if (!m_images.isInPlace || cut.nbBands == 1) return Tiles(*this, cut, nullptr, 0).run(nbSlices);
  KeptRows kept(cut, m_programs.fast.getImageReach(), m_kernels.voxelSize);
  for (long slice = 0; slice < nbSlices; ++slice) {
    kept.keep(getSlice(m_programs.isVolume, source, slice));
    Tiles(*this, cut, &kept, slice).run(1);
  }
}

}  // namespace pxl::wide
