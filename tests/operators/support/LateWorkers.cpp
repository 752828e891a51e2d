#include "operators/support/LateWorkers.h"

#include <dlfcn.h>
#include <tbb/parallel_for.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace operators_test {

std::atomic<int> nbLateWorkers{0};

}  // namespace operators_test

// Found before TBB's own, which it calls.
namespace tbb::detail::r1 {

__attribute__((visibility("default"))) void __TBB_EXPORTED_FUNC deallocate(d1::small_object_pool& pool, void* task,
                                                                           std::size_t size,
                                                                           d1::execution_data const& data) {
  using Deallocate = void (*)(d1::small_object_pool&, void*, std::size_t, d1::execution_data const&);
  static auto const original = reinterpret_cast<Deallocate>(
      ::dlsym(RTLD_NEXT, "_ZN3tbb6detail2r110deallocateERNS0_2d117small_object_poolEPvmRKNS2_14execution_dataE"));
  if (::gettid() != ::getpid()) {
    ++operators_test::nbLateWorkers;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  original(pool, task, size, data);
}

}  // namespace tbb::detail::r1
