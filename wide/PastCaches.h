#pragma once

namespace pxl::wide {

/**
 * Whether a result of so many bytes would push everything else out of the caches, and is gone when the next step
 * reads it: its lines are better written to memory directly. The environment variable PXLWORKS_WIDE_CACHE says how
 * many bytes the last cache has, for tests.
 */
bool isLargerThanCaches(unsigned long nbBytes);

}  // namespace pxl::wide
