#pragma once

#include <cstddef>

namespace pxl::access {

/**
 * Objects that all threads read for each row get cache lines of their own. Otherwise they could share one with a
 * thread's row buffer, which is written as often (false sharing).
 */
constexpr std::size_t cCacheLine = 64;

}  // namespace pxl::access
