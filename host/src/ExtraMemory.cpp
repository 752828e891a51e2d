#include "ExtraMemory.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <string>

#include "pxl/Settings.h"

namespace pxl {
namespace {

constexpr unsigned long cUnlimited = std::numeric_limits<unsigned long>::max();

unsigned long getAvailableOfSystem() {
  std::ifstream file("/proc/meminfo");
  std::string name, unit;
  unsigned long kilobytes = 0;
  while (file >> name >> kilobytes && std::getline(file, unit))
    if (name == "MemAvailable:") return kilobytes * 1024;
  return 0;
}

// A group without a limit says "max", which isn't a number.
unsigned long readNumber(char const* path) {
  std::ifstream file(path);
  unsigned long value = 0;
  return file >> value ? value : cUnlimited;
}

unsigned long getAvailableOfGroup() {
  unsigned long const limit = readNumber("/sys/fs/cgroup/memory.max");
  unsigned long const used = readNumber("/sys/fs/cgroup/memory.current");
  if (limit == cUnlimited || used == cUnlimited) return cUnlimited;
  return limit > used ? limit - used : 0;
}

}  // namespace

unsigned long getDefaultExtraMemory() {
  unsigned long const bytes = globalSettings().getValueAsUnsignedLong("PXL_MAX_EXTRA_MEMORY", cUnlimited);
  return bytes != cUnlimited ? bytes : std::min(getAvailableOfSystem(), getAvailableOfGroup()) / 2;
}

}  // namespace pxl
