#pragma once

#include <string>
#include <vector>

#include "pxl/Plugins.h"

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace host_test {

/**
 * A plug-in never deletes its runners, as somebody may still hold them when it goes: a few bytes for each load, by
 * intention. While one exists, what this thread allocates isn't searched for leaks.
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
