#include "pxl/Plugins.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "PluginState.h"
#include "Raise.h"

namespace pxl::plugins {
namespace {

bool isPluginName(std::string const& name) {
  constexpr char cPrefix[] = "libpxlworks_pxl_";
  constexpr char cSuffix[] = ".so";
  constexpr std::size_t cSuffixLength = sizeof(cSuffix) - 1;
  return name.rfind(cPrefix, 0) == 0 && name.size() > cSuffixLength &&
         name.compare(name.size() - cSuffixLength, cSuffixLength, cSuffix) == 0;
}

std::string findFolderOfLibrary() {
  Dl_info info;
  if (!::dladdr(reinterpret_cast<void const*>(&getFolder), &info) || !info.dli_fname) return std::string();
  std::error_code error;
  std::filesystem::path const library = std::filesystem::canonical(info.dli_fname, error);
  return error ? std::string() : library.parent_path().string();
}

// Determined while the library is loaded: its path may be relative to the working directory of that moment. Never
// destroyed.
std::string const& folderOfLibrary = *new std::string(findFolderOfLibrary());

}  // namespace

std::string getFolder() {
  if (char const* const folder = ::secure_getenv("PXLWORKS_PLUGIN_DIR"); folder && *folder) return folder;
  return folderOfLibrary;
}

void load(std::string const& absolutePath) {
  if (absolutePath.empty() || absolutePath[0] != '/')
    PXL_RAISE(InvalidCall, "the path of a plug-in must be absolute: " + absolutePath);
  PluginState& state = PluginState::get();
  std::lock_guard<std::mutex> lock(state.mutex);
  if (state.handles.count(absolutePath)) return;
  void* const handle = ::dlopen(absolutePath.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) PXL_RAISE(RuntimeError, std::string("the plug-in can't be loaded: ") + ::dlerror());
  state.handles[absolutePath] = handle;
}

std::vector<std::string> loadFolder() {
  std::string const folder = getFolder();
  if (folder.empty() || folder[0] != '/')
    PXL_RAISE(InvalidCall, "the folder of plug-ins isn't an absolute path: " + folder);
  std::vector<std::string> paths;
  std::error_code error;
  for (auto const& entry : std::filesystem::directory_iterator(folder, error))
    if (isPluginName(entry.path().filename().string())) paths.push_back(entry.path().string());
  if (error) PXL_RAISE(RuntimeError, "the folder of plug-ins can't be read: " + folder + ": " + error.message());
  std::sort(paths.begin(), paths.end());
  for (std::string const& path : paths) load(path);
  return getLoaded();
}

void unload(std::string const& absolutePath) {
  PluginState& state = PluginState::get();
  std::lock_guard<std::mutex> lock(state.mutex);
  auto const found = state.handles.find(absolutePath);
  if (found == state.handles.end()) PXL_RAISE(InvalidCall, "no plug-in was loaded from " + absolutePath);
  if (state.nbRuns > 0) PXL_RAISE(InvalidCall, "a plug-in can't be unloaded during a run");
  ::dlclose(found->second);
  state.handles.erase(found);
}

std::vector<std::string> getLoaded() {
  PluginState& state = PluginState::get();
  std::lock_guard<std::mutex> lock(state.mutex);
  std::vector<std::string> paths;
  for (auto const& entry : state.handles) paths.push_back(entry.first);
  return paths;
}

}  // namespace pxl::plugins
