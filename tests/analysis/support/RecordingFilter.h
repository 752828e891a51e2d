#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

#include "Core/private/Access/Block.h"
#include "Core/private/Access/simd/SimdVec.h"
#include "Core/private/Filters/ImageToQuantificationFilter.h"

namespace analysis_test {

/** What the functors of one test did. */
struct FunctorLog {
  FunctorLog() { active = this; }
  ~FunctorLog() { active = nullptr; }

  std::atomic<long> nbMade{0};
  std::atomic<long> nbLiving{0};
  std::atomic<long> nbMerges{0};
  std::atomic<long> nbRuns{0};
  /** Called with each block. */
  std::function<void(pxl::access::Block3d const&, pxl::BaseTbbAlgorithm&)> onRun;

  std::vector<pxl::access::Block3d> getBlocks() {
    std::lock_guard<std::mutex> const lock(mutex);
    return blocks;
  }

  std::mutex mutex;
  std::vector<pxl::access::Block3d> blocks;
  static inline FunctorLog* active = nullptr;
};

/** Counts voxels and itself. */
struct RecordingFunctor {
  RecordingFunctor() { ++FunctorLog::active->nbMade, ++FunctorLog::active->nbLiving; }
  ~RecordingFunctor() { --FunctorLog::active->nbLiving; }
  RecordingFunctor(RecordingFunctor const&) = delete;
  RecordingFunctor& operator=(RecordingFunctor const&) = delete;

  template <class Filter>
  void run(pxl::access::Block3d const& block, Filter& filter) {
    FunctorLog& log = *FunctorLog::active;
    ++log.nbRuns;
    {
      std::lock_guard<std::mutex> const lock(log.mutex);
      log.blocks.push_back(block);
    }
    if (log.onRun) log.onRun(block, filter);
    nbVoxels += block.getNumOfVoxels();
  }
  void merge(RecordingFunctor const& other) {
    ++FunctorLog::active->nbMerges;
    nbVoxels += other.nbVoxels;
  }

  long nbVoxels = 0;
};

using RecordingFilter =
    pxl::ImageToQuantificationFilter3d<unsigned char, pxl::SimdVec::arch_128_tag, RecordingFunctor>;
using RecordingFilterBase =
    pxl::ImageToQuantificationFilter<unsigned char, pxl::SimdVec::arch_128_tag, RecordingFunctor, pxl::Filter3dTag>;

}  // namespace analysis_test
