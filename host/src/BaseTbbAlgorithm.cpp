#include "pxl/BaseTbbAlgorithm.h"

#include <tbb/task_arena.h>

#include <algorithm>
#include <mutex>

#include "ExecutionState.h"
#include "instrument/Instrument.h"
#include "pxl/AlgoInfo.h"
#include "pxl/BaseAlgorithm.h"

namespace pxl {
namespace {

using Lock = std::lock_guard<std::recursive_mutex>;
using Grains = AbstractPartitionerPolicy::PartitionerGrainSizes;

// A row costs a few calls, whatever its length, so rows up to this many columns are not split.
constexpr unsigned long cMaxNbCols = 16384;
// Voxels of a block in a plan: enough work to hide the scheduling of a task.
constexpr unsigned long cNbVoxelsPerPlanBlock = 32 * 1024;
constexpr unsigned long cMinNbRows = 8;
// Rows and plans of a block in a volume. Each block also reads the margins around it, so large blocks are better, as
// long as three planes that are read and one that is written fit into the second-level cache of a thread: half a
// megabyte of 32-bit voxels. With 8-bit voxels the cost per row outweighs the margins.
//
// Time of one pass over 256 x 256 x 256 / time of the same work without a host, for blocks of rows x plans:
//
//                            16 x 32  32 x 128  128 x 64  64 x 64
//   six neighbours, float      1.29      1.19      1.21     1.17
//   cube, float                1.34      1.21      1.13     1.13
//   six neighbours, uint8      1.87      1.82      1.89     1.94
//   cube, uint8                1.67      1.72      1.81     1.66
constexpr unsigned long cNbVoxelsPerVolumePlane = 32 * 1024;
constexpr unsigned long cMaxNbRowsPerVolumeBlock = 64;
constexpr unsigned long cNbPlansPerVolumeBlock = 64;
// Blocks per thread, so that a thread that finishes early gets more work.
constexpr unsigned long cNbBlocksPerThread = 4;

unsigned long countOf(long size) { return size > 0 ? static_cast<unsigned long>(size) : 0; }
unsigned long countParts(unsigned long size, unsigned long grain) { return (size + grain - 1) / grain; }

WorkingDimension getWorkingDimension(BaseAlgorithm const* algorithm) {
  AlgoInfo const* const record = algorithm ? algorithm->getAlgoInfo() : nullptr;
  return record ? record->getWorkingDimension() : WorkingDimension::cVolume;
}

}  // namespace

BaseTbbAlgorithm::BaseTbbAlgorithm(BaseAlgorithm* algorithm)
    : AbstractPrivateImplementation(algorithm),
      m_taskGroupContext(tbb::task_group_context::isolated),
      m_processingRegion(algorithm ? algorithm->getProcessingRegion() : access::Region()),
      m_isRegionChosen(algorithm && algorithm->hasProcessingRegion()) {
  Lock const lock(algorithms::getFrameLock());
  m_taskGroupOwner = this;
  if (m_cancelled.load(std::memory_order_relaxed)) m_taskGroupContext.cancel_group_execution();
}

BaseTbbAlgorithm::~BaseTbbAlgorithm() {
  Lock const lock(algorithms::getFrameLock());
  m_taskGroupOwner = nullptr;
}

void BaseTbbAlgorithm::cancelExecution() { AbstractPrivateImplementation::cancelExecution(); }

void* BaseTbbAlgorithm::getBody() { return nullptr; }

void BaseTbbAlgorithm::setProcessingRegion(access::Region const& region) { m_processingRegion = region; }

void BaseTbbAlgorithm::getPartitionerGrainSizes(Grains& grains) const {
  unsigned long const nbCols = countOf(m_processingRegion.getNbCols());
  unsigned long const nbRows = countOf(m_processingRegion.getNbRows());
  unsigned long const nbPlans = countOf(m_processingRegion.getNbPlans());
  WorkingDimension const dimension = getWorkingDimension(getPublicInterface());
  bool const isPlanByPlan = nbPlans <= 1 || dimension == WorkingDimension::cPlanByPlan;
  // Without neighbours compact blocks gain nothing, and consecutive rows are read in 2/3 of the time (256 x 256 x 256
  // float, two threads). So the plans are split first, and rows only within a plan.
  bool const isFlat = isPlanByPlan || dimension == WorkingDimension::cVoxelByVoxel;

  grains.cols = std::clamp(nbCols, 1UL, cMaxNbCols);
  grains.rows = isFlat ? std::max(cMinNbRows, cNbVoxelsPerPlanBlock / grains.cols)
                       : std::clamp(cNbVoxelsPerVolumePlane / grains.cols, cMinNbRows, cMaxNbRowsPerVolumeBlock);
  grains.plans = isFlat ? 1 : cNbPlansPerVolumeBlock;

  // Smaller blocks for small images: the larger of the two outer grains is halved. Rows are not split.
  unsigned long const nbWanted =
      cNbBlocksPerThread * static_cast<unsigned long>(tbb::this_task_arena::max_concurrency());
  unsigned long const nbPlansAtOnce = isPlanByPlan ? 1 : nbPlans;
  while (countParts(nbCols, grains.cols) * countParts(nbRows, grains.rows) * countParts(nbPlansAtOnce, grains.plans) <
             nbWanted &&
         (grains.rows > 1 || grains.plans > 1)) {
    unsigned long& larger = grains.plans >= grains.rows ? grains.plans : grains.rows;
    larger /= 2;
  }
  PXL_PROBE(onGrains(this, grains));
}

}  // namespace pxl
