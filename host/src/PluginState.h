#pragma once

#include <map>
#include <mutex>
#include <string>

namespace pxl::plugins {

/** The loaded plug-ins and the runs that may use them. */
struct PluginState {
  /** Never destroyed: plug-ins stay loaded until the end of the process. */
  static PluginState& get();

  std::mutex mutex;                      ///< guards all other members
  std::map<std::string, void*> handles;  ///< by absolute path
  int nbRuns = 0;
};

}  // namespace pxl::plugins
