#pragma once

#include <cstddef>

namespace pxl::access {

/**
 * Objects that all threads read for each row start a cache line and fill it: else they may share one with a row
 * buffer of some thread, which is written just as often.
 */
constexpr std::size_t cCacheLine = 64;

}  // namespace pxl::access
