#include "ExtraMemory.h"

#include <algorithm>
#include <fstream>
#include <string>

#include "ControlGroups.h"
#include "pxl/Settings.h"

namespace pxl {
namespace {

unsigned long getAvailableOfSystem() {
  std::ifstream file("/proc/meminfo");
  std::string name, unit;
  unsigned long kilobytes = 0;
  while (file >> name >> kilobytes && std::getline(file, unit))
    if (name == "MemAvailable:") return kilobytes * 1024;
  return 0;
}

}  // namespace

unsigned long getDefaultExtraMemory() {
  auto const getSetting = [](unsigned long defaultValue) {
    return globalSettings().getValueAsUnsignedLong("PXL_MAX_EXTRA_MEMORY", defaultValue);
  };
  // Any number may be set, so two different defaults are needed to detect that none is.
  if (unsigned long const bytes = getSetting(0); bytes != 0 || getSetting(1) == 0) return bytes;
  return std::min(getAvailableOfSystem(), getAvailableOfGroups("")) / 2;
}

}  // namespace pxl
