// A plug-in with all 19 runners, in one unit. FRAME_TEST_REVERSED makes them register in the reverse order.
#include <string>

#include "frame/support/Runners.h"

namespace frame_test {

void report(char const* dispatcher, std::type_info const& voxelType, pxl::BaseAlgorithm*) {
  pxl::helper::raise<pxl::InvalidCall>(std::string(dispatcher) + " " + voxelType.name(), "the test plug-in", 1);
}

}  // namespace frame_test

#ifdef FRAME_TEST_REVERSED
#define FRAME_TEST_ORDER __attribute__((init_priority(1000 - __COUNTER__)))
#else
#define FRAME_TEST_ORDER
#endif

#define FRAME_TEST_REGISTER(Namespace, Algo, Runner)                                   \
  namespace pxl::Namespace {                                                           \
  struct AutoRegisterRunnable##Runner : helper::AutoRegisterRunnable<Algo, Runner> {}; \
  static_assert(sizeof(AutoRegisterRunnable##Runner) == sizeof(Runnable*));            \
  AutoRegisterRunnable##Runner g_autoRegisterRunnable##Runner FRAME_TEST_ORDER;        \
  }

FRAME_TEST_FOR_EACH_RUNNER(FRAME_TEST_REGISTER)
