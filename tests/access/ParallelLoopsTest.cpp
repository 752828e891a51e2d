// How finely the loops of all operators split their blocks.
#include <atomic>
#include <mutex>
#include <vector>

#include "Core/private/Filters/RunBlocks.h"
#include "gtest/gtest.h"
#include "instrument/Threads.h"

namespace access_test {
namespace {

using pxl::access::Block2d;
using pxl::access::Block3d;

/** Records the leaves of a loop or of a reduction. */
struct NotingBody {
  explicit NotingBody(std::vector<long>* noted) : sizes(noted) {}
  NotingBody(NotingBody& source, tbb::split) : sizes(source.sizes) {}
  template <class AnyBlock>
  void operator()(AnyBlock const& leaf) const {
    sizes->push_back(leaf.getNumOfVoxels());
  }
  void join(NotingBody&) {}
  std::vector<long>* sizes;
};

// The leaves on one thread.
template <class Run>
std::vector<long> listLeaves(Run&& run) {
  std::vector<long> sizes;
  tbb::task_group_context group(tbb::task_group_context::isolated);
  NotingBody body(&sizes);
  pxl::instrument::withThreads(1, [&] { run(body, group); });
  return sizes;
}

// Splitting down to the grain would make as many leaves as voxels, and not splitting at all a single one.
void expectCutForThreads(std::vector<long> const& leaves, long nbVoxels) {
  long sum = 0;
  for (long size : leaves) sum += size;
  EXPECT_EQ(sum, nbVoxels);
  EXPECT_GT(leaves.size(), 1U);
  EXPECT_LE(leaves.size(), 64U);
}

TEST(ParallelLoops, CutBlocksAsFarAsThreadsNeedThem) {
  Block2d const plan(0, 64, 1, 0, 128, 1, 0, 0, 0);
  Block3d const volume(0, 16, 1, 0, 32, 1, 0, 64, 1, 0, 0);
  expectCutForThreads(
      listLeaves([&](auto& body, auto& group) { pxl::details::runBlocks(plan, std::as_const(body), group); }),
      64 * 128);
  expectCutForThreads(
      listLeaves([&](auto& body, auto& group) { pxl::details::runBlocks(volume, std::as_const(body), group); }),
      16 * 32 * 64);
  expectCutForThreads(listLeaves([&](auto& body, auto& group) { pxl::details::reduceBlocks(volume, body, group); }),
                      16 * 32 * 64);
}

TEST(ParallelLoops, NeverCutBelowTheGrain) {
  Block3d const volume(0, 4, 4, 0, 32, 16, 0, 64, 64, 0, 0);
  for (bool isReduction : {false, true}) {
    auto const leaves = listLeaves([&](auto& body, auto& group) {
      if (isReduction)
        pxl::details::reduceBlocks(volume, body, group);
      else
        pxl::details::runBlocks(volume, std::as_const(body), group);
    });
    EXPECT_EQ(leaves, (std::vector<long>{4 * 16 * 64, 4 * 16 * 64}));
  }
}

}  // namespace
}  // namespace access_test
