#pragma once

#include <string>

namespace pxl {

/**
 * Bytes that the limits of the process's control group (version 2) and of all its ancestors leave free; 2^64 - 1 if
 * none has a limit. Pages of files count as free. `root` replaces the root folder of the system in tests; else empty.
 */
unsigned long getAvailableOfGroups(std::string const& root);

}  // namespace pxl
