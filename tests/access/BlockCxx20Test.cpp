// Compiled as C++20, in which TBB has stricter requirements on ranges and bodies.
#include <tbb/parallel_for.h>
#include <tbb/parallel_reduce.h>

#include <atomic>

#include "Core/private/Access/Block.h"
#include "gtest/gtest.h"

static_assert(__cplusplus >= 202002L);

namespace access_test {
namespace {

struct CountingBody {
  CountingBody() = default;
  CountingBody(CountingBody&, tbb::split) {}
  void operator()(pxl::access::Block3d const& leaf) { count += leaf.getNumOfVoxels(); }
  void join(CountingBody const& right) { count += right.count; }
  long count = 0;
};

TEST(Blocks, AreRangesInCxx20) {
  std::atomic<long> count{0};
  tbb::parallel_for(pxl::access::Block2d(0, 40, 1, 0, 50, 1, 0, 0, 0),
                    [&count](pxl::access::Block2d const& leaf) { count += leaf.getNumOfVoxels(); });
  EXPECT_EQ(count, 2000);
  CountingBody body;
  tbb::parallel_reduce(pxl::access::Block3d(0, 3, 1, 0, 40, 1, 0, 50, 1, 0, 0), body);
  EXPECT_EQ(body.count, 6000);
}

}  // namespace
}  // namespace access_test
