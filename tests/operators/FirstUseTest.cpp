// The first run of a process, within the tasks of a loop that is not the host's.
#include <sys/wait.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <unistd.h>

#include <atomic>

#include "operators/support/EveryOperator.h"
#include "operators/support/LateWorkers.h"

namespace operators_test {
namespace {

// Ends the process, by SIGALRM if threads wait for each other.
[[noreturn]] void runInOuterTasks() {
  ::alarm(20);
  tbb::global_control const limit(tbb::global_control::max_allowed_parallelism, 4);
  pxl::plugins::load(PXLWORKS_PLUGIN_PATH);
  std::atomic<int> nbDone{0};
  tbb::parallel_for(0, 16, [&](int) {
    auto const run = makeRun(*pxl::AlgoInfo::find("LogicalOperationWithValue"), {16, 16, 1, 1, 1});
    run.algorithm->execute();
    ++nbDone;
  });
  ::_exit(nbDone == 16 ? 0 : 1);
}

// A waiting thread that may take any task takes one of the outer loop, which comes to the same place.
TEST(FirstUse, MayBeWithinTheTasksOfAnOuterLoop) {
  for (int i = 0; i < 20; ++i) {
    pid_t const child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) runInOuterTasks();
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "process " << i << " ended with " << status;
  }
}

}  // namespace
}  // namespace operators_test
