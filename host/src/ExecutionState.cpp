#include "ExecutionState.h"

namespace pxl::algorithms {

// Never destroyed: frames may be made until the very end of the process.
std::recursive_mutex& getFrameLock() {
  static std::recursive_mutex* const mutex = new std::recursive_mutex;
  return *mutex;
}

}  // namespace pxl::algorithms
