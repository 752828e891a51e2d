// A plug-in may be unloaded as soon as execute() has returned: no worker is in its code then.
#include <dlfcn.h>
#include <tbb/global_control.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "host/support/PluginLoading.h"
#include "instrument/Recorder.h"
#include "instrument/ShippedPaths.h"
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
  // Rows that take long enough for workers to come.
  pxl::instrument::Recorder recorder;
  recorder.isTracing = false;
  recorder.onRead = [](auto const&) { std::this_thread::sleep_for(std::chrono::microseconds(20)); };
  recorder.grains = pxl::AbstractPartitionerPolicy::PartitionerGrainSizes{64, 2, 1};
  char const* const names[] = {"LogicalOperationWithValue", "IntensityExtrema", "Dilation2d", "Dilation3d"};
  for (int cycle = 0; cycle < getNbCycles(); ++cycle) {
    host_test::loadPlugin(shipped::getPlugin());
    auto const run = makeRun(*pxl::AlgoInfo::find(names[cycle % 4]), {64, 16, 4, 1, 1});
    run.algorithm->execute();
    pxl::plugins::unload(shipped::getPlugin());
    ASSERT_EQ(::dlopen(shipped::getPlugin().c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "it is still in memory";
  }
  EXPECT_GT(nbLateWorkers, getNbCycles() / 4);
}

}  // namespace
}  // namespace operators_test
