#include "instrument/ShippedPaths.h"

#include <cstdlib>

namespace shipped {
namespace {

std::string find(std::string const& path) {
  char const* const folder = std::getenv("PXLWORKS_TEST_PLUGINS");
  return folder ? folder + path.substr(path.rfind('/')) : path;
}

}  // namespace

std::string getPlugin() { return find(PXLWORKS_PLUGIN_PATH); }
std::string getElements() { return find(PXLWORKS_ELEMENTS_PATH); }
std::string getWide() { return find(PXLWORKS_WIDE_PATH); }

}  // namespace shipped
