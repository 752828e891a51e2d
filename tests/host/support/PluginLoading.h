#pragma once

#include <string>
#include <vector>

#include "instrument/Sanitized.h"
#include "pxl/Plugins.h"

namespace host_test {

/**
 * A plug-in never deletes its runners, because they may still be in use when it is unloaded. This leaks a few bytes
 * per load on purpose. While an object of this class exists, allocations of this thread aren't checked for leaks.
 */
class RunnersMayStay {
 public:
  RunnersMayStay() { call("__lsan_disable"); }
  ~RunnersMayStay() { call("__lsan_enable"); }
  RunnersMayStay(RunnersMayStay const&) = delete;
  RunnersMayStay& operator=(RunnersMayStay const&) = delete;

 private:
  static void call(char const* function) {
    if (isAddressSanitized()) reinterpret_cast<void (*)()>(::dlsym(RTLD_DEFAULT, function))();
  }
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
