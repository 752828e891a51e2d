#include "frame/support/Registered.h"

#include <cxxabi.h>
#include <dlfcn.h>

#include <cstdlib>
#include <memory>
#include <vector>

#include "gtest/gtest.h"
#include "pxl/AlgoInfo.h"

namespace frame_test {
namespace {

// Nobody deletes runners. Kept here, those of an unloaded plug-in aren't taken for a leak.
std::vector<pxl::Runnable*>& getKeptRunners() {
  static auto* const runners = new std::vector<pxl::Runnable*>;
  return *runners;
}

}  // namespace

Runners getRegistered() {
  Runners result;
  for (pxl::AlgoInfo* info : pxl::AlgoInfo::getAll()) {
    if (info->isComposed()) continue;  // its runner is the host's own
    auto const runners = info->getRunners();
    EXPECT_LE(runners.size(), 1U) << info->getName();
    if (runners.empty()) continue;
    result[info->getName()] = runners[0];
    getKeptRunners().push_back(runners[0]);
  }
  return result;
}

bool isInMemory(std::string const& path) {
  void* const handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle) ::dlclose(handle);
  return handle != nullptr;
}

std::string demangle(char const* name) {
  std::unique_ptr<char, void (*)(void*)> const text(abi::__cxa_demangle(name, nullptr, nullptr, nullptr), std::free);
  return text ? text.get() : name;
}

}  // namespace frame_test
