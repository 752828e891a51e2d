#include "RunGuard.h"

#include "PluginState.h"

namespace pxl::plugins {

RunGuard::RunGuard() {
  std::lock_guard<std::mutex> lock(PluginState::get().mutex);
  ++PluginState::get().nbRuns;
}

RunGuard::~RunGuard() {
  std::lock_guard<std::mutex> lock(PluginState::get().mutex);
  --PluginState::get().nbRuns;
}

}  // namespace pxl::plugins
