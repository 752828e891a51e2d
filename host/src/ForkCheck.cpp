#include "ForkCheck.h"

#include <pthread.h>

#include <atomic>

#include "Raise.h"

namespace pxl {
namespace {

std::atomic<bool> isUsed{false};
std::atomic<bool> isForkedAfterUse{false};

// Uses the fork handler, not the process id: a child in a namespace of its own may have the same id.
[[maybe_unused]] int const isWatching = ::pthread_atfork(nullptr, nullptr, [] {
  if (isUsed.load(std::memory_order_relaxed)) isForkedAfterUse.store(true, std::memory_order_relaxed);
});

}  // namespace

void checkForkAndNoteUse() {
  if (isForkedAfterUse.load(std::memory_order_relaxed))
    PXL_RAISE(RuntimeError,
              "this process was forked after its parent had run an algorithm, and has none of its threads: "
              "start workers with spawn or forkserver");
  isUsed.store(true, std::memory_order_relaxed);
}

}  // namespace pxl
