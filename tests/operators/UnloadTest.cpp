// A plug-in may be unloaded as soon as execute() has returned: no worker is in its code any more.
#include <dlfcn.h>
#include <tbb/global_control.h>

#include <cstdlib>

#include "operators/support/EveryOperator.h"
#include "operators/support/LateWorkers.h"

namespace operators_test {
namespace {

int getNbCycles() {
  char const* const text = std::getenv("PXLWORKS_UNLOAD_CYCLES");
  return text ? std::atoi(text) : 300;
}

TEST(Unload, RightAfterARunIsSafe) {
  tbb::global_control const limit(tbb::global_control::max_allowed_parallelism, 4);
  char const* const names[] = {"LogicalOperationWithValue", "IntensityExtrema", "Dilation2d", "Dilation3d"};
  for (int cycle = 0; cycle < getNbCycles(); ++cycle) {
    pxl::plugins::load(PXLWORKS_PLUGIN_PATH);
    auto const run = makeRun(*pxl::AlgoInfo::find(names[cycle % 4]), {64, 64, 8, 1, 1});
    run.algorithm->execute();
    pxl::plugins::unload(PXLWORKS_PLUGIN_PATH);
    ASSERT_EQ(::dlopen(PXLWORKS_PLUGIN_PATH, RTLD_NOW | RTLD_NOLOAD), nullptr) << "it is still in memory";
  }
  EXPECT_GT(nbLateWorkers, getNbCycles() / 4);
}

}  // namespace
}  // namespace operators_test
