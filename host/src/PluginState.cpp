#include "PluginState.h"

namespace pxl::plugins {

PluginState& PluginState::get() {
  static PluginState* const state = new PluginState;
  return *state;
}

}  // namespace pxl::plugins
