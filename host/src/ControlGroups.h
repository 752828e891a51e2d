#pragma once

#include <string>

namespace pxl {

/**
 * Bytes that the process's control group (version 2) and all groups above it leave free; 2^64 - 1 where none has a
 * limit. Pages of files count as free. `root` is the folder that stands for the root of all files, empty for the
 * system's own.
 */
unsigned long getAvailableOfGroups(std::string const& root);

}  // namespace pxl
