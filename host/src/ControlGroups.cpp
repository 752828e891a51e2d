#include "ControlGroups.h"

#include <algorithm>
#include <fstream>
#include <limits>

namespace pxl {
namespace {

constexpr unsigned long cUnlimited = std::numeric_limits<unsigned long>::max();

// A group without a limit says "max", which isn't a number.
unsigned long readNumber(std::string const& path) {
  std::ifstream file(path);
  unsigned long value = 0;
  return file >> value ? value : cUnlimited;
}

// Pages of files, which the system reclaims when memory is needed.
unsigned long readReclaimable(std::string const& path) {
  std::ifstream file(path);
  std::string name;
  unsigned long bytes = 0, total = 0;
  while (file >> name >> bytes)
    if (name == "inactive_file" || name == "active_file") total += bytes;
  return total;
}

unsigned long getAvailableOfGroup(std::string const& folder) {
  unsigned long const limit = readNumber(folder + "/memory.max");
  unsigned long const used = readNumber(folder + "/memory.current");
  if (limit == cUnlimited || used == cUnlimited) return cUnlimited;
  unsigned long const needed = used - std::min(used, readReclaimable(folder + "/memory.stat"));
  return limit - std::min(limit, needed);
}

// The path of the process's version 2 group, without a trailing slash; empty for the root. A group that isn't visible
// counts as the root, its nearest visible ancestor.
std::string readOwnGroup(std::string const& path) {
  constexpr char cVersion2[] = "0::";
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);)
    if (line.rfind(cVersion2, 0) == 0) {
      std::string const group = line.substr(sizeof(cVersion2) - 1);
      return group == "/" || group.rfind("/..", 0) == 0 ? std::string() : group;
    }
  return std::string();
}

}  // namespace

unsigned long getAvailableOfGroups(std::string const& root) {
  std::string const groups = root + "/sys/fs/cgroup";
  std::string group = readOwnGroup(root + "/proc/self/cgroup");
  unsigned long available = getAvailableOfGroup(groups + group);
  while (!group.empty()) {
    std::size_t const slash = group.rfind('/');
    group.erase(slash == std::string::npos ? 0 : slash);
    available = std::min(available, getAvailableOfGroup(groups + group));
  }
  return available;
}

}  // namespace pxl
