// The first run of a process, within the tasks of a loop that is not the host's.
#include <sys/wait.h>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "instrument/ShippedPaths.h"
#include "operators/support/EveryOperator.h"
#include "operators/support/LateWorkers.h"

namespace operators_test {
namespace {

// Ends the process, by SIGALRM if a thread waits for itself.
[[noreturn]] void runInOuterTasks() {
  ::alarm(20);
  // Four threads whatever the machine has.
  tbb::global_control const limit(tbb::global_control::max_allowed_parallelism, 4);
  tbb::task_arena arena(4);
  pxl::plugins::load(shipped::getPlugin());
  std::atomic<bool> isBegun{false};
  std::atomic<int> nbRuns{0};
  // A worker runs first. The last lines of its tasks take long, so that another thread takes over half of the first
  // thing it does, and it waits for that half. If it takes one of these tasks meanwhile, that one runs as well.
  auto const task = [&] {
    thread_local int depth = 0;
    if (depth == 1 || (::gettid() != ::getpid() && !isBegun.exchange(true))) {
      ++depth;
      makeRun(*pxl::AlgoInfo::find("LogicalOperationWithValue"), {16, 16, 1, 1, 1}).algorithm->execute();
      --depth;
      ++nbRuns;
    } else {
      std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
  };
  arena.execute([&] {
    tbb::task_group group;
    for (int i = 0; i < 200; ++i) group.run(task);
    while (!isBegun) std::this_thread::yield();
    group.wait();
  });
  ::_exit(nbRuns > 0 ? 0 : 1);
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
