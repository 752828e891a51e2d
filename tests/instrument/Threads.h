#pragma once

#include <tbb/global_control.h>
#include <tbb/task_arena.h>

#include <utility>

namespace pxl::instrument {

/** Runs a function in an arena of this many threads, at most 16, even if the machine has fewer. */
template <class Function>
void withThreads(int nbThreads, Function&& function) {
  // For the whole process: workers that come and go with each call would often be missing.
  static tbb::global_control const limit(tbb::global_control::max_allowed_parallelism, 16);
  tbb::task_arena arena(nbThreads);
  arena.execute(std::forward<Function>(function));
}

}  // namespace pxl::instrument
