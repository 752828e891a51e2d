#pragma once

#include <algorithm>

namespace pxl::access {

constexpr int cForReading = 0;
constexpr int cForWriting = 1;

/**
 * Has the beginning of a row brought near that is likely the next one: what a kernel does between two rows would else
 * end the processor's own look ahead. The beginning is enough; writing gains by it as much as reading does (a tenth
 * of a pass over 8-bit voxels). Any address will do.
 */
template <int Use>
inline void prefetchRow(char const* address, unsigned long bytes) {
  constexpr unsigned long cLine = 64;
  constexpr unsigned long cMaxBytes = 1024;
  for (unsigned long i = 0; i < std::min(bytes, cMaxBytes); i += cLine) __builtin_prefetch(address + i, Use);
}

}  // namespace pxl::access
