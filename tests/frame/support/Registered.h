#pragma once

#include <map>
#include <string>

namespace pxl {
class Runnable;
}

/** What plug-ins have left in the host and in memory. */
namespace frame_test {

/** Runners by the names of their operators. */
using Runners = std::map<std::string, pxl::Runnable*>;

/** The registered runners; expects at most one for each operator. */
Runners getRegistered();

bool isInMemory(std::string const& path);

std::string demangle(char const* name);

}  // namespace frame_test
