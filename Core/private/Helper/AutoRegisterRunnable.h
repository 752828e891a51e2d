#pragma once

#include "pxl/AlgoInfo.h"
#include "pxl/Runnable.h"

namespace pxl::helper {

/**
 * Registers a runner with the record of its operator as long as the library is loaded: each unit has one global
 * object. An operator without a record is skipped. The runner itself is never deleted.
 */
template <class Algo, class Runner>
struct AutoRegisterRunnable {
  AutoRegisterRunnable() {
    if (AlgoInfo* const record = Algo::getClassInfo()) {
      m_runner = new Runner;
      record->addRunner(m_runner);
    }
  }
  ~AutoRegisterRunnable() {
    if (!m_runner) return;
    if (AlgoInfo* const record = Algo::getClassInfo()) record->removeRunner(m_runner);
  }
  AutoRegisterRunnable(AutoRegisterRunnable const&) = delete;
  AutoRegisterRunnable& operator=(AutoRegisterRunnable const&) = delete;

  Runnable* m_runner = nullptr;
};

}  // namespace pxl::helper

/** The registration of a runner, in its namespace: a class and a global object that are named after it. */
#define PXL_REGISTER_RUNNER(Algo, Runner)                                              \
  struct AutoRegisterRunnable##Runner : helper::AutoRegisterRunnable<Algo, Runner> {}; \
  AutoRegisterRunnable##Runner g_autoRegisterRunnable##Runner;
