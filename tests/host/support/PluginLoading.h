#pragma once

#include <string>
#include <vector>

#include "pxl/Plugins.h"

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace host_test {

/**
 * A plug-in never deletes its runners, because they may still be in use when it is unloaded. This leaks a few bytes
 * per load on purpose. While an object of this class exists, allocations of this thread aren't checked for leaks.
 */
class RunnersMayStay {
 public:
#ifdef __SANITIZE_ADDRESS__
  RunnersMayStay() { __lsan_disable(); }
  ~RunnersMayStay() { __lsan_enable(); }
#else
  RunnersMayStay() {}
#endif
  RunnersMayStay(RunnersMayStay const&) = delete;
  RunnersMayStay& operator=(RunnersMayStay const&) = delete;
};

inline void loadPlugin(std::string const& path) {
  RunnersMayStay const stay;
  pxl::plugins::load(path);
}

inline std::vector<std::string> loadPluginFolder() {
  RunnersMayStay const stay;
  return pxl::plugins::loadFolder();
}

}  // namespace host_test
