#pragma once

#include <tbb/task_arena.h>

#include <memory>

#include "pxl/Noncopyable.h"

namespace qorn::python {

/** How many threads this process may run at once. */
int getNbCores();

/**
 * A number of threads for the time of a run. The library that has the threads serves new groups of them late, so that
 * groups are kept: of each size one for each run that goes on at the same time. Made and destroyed with the
 * interpreter's lock, which guards the groups.
 */
class Arena : private pxl::Noncopyable {
 public:
  explicit Arena(int nbThreads);
  ~Arena();

  tbb::task_arena& get() const { return *m_arena; }

 private:
  int m_nbThreads;
  std::unique_ptr<tbb::task_arena> m_arena;
};

}  // namespace qorn::python
