#pragma once

#include "pxl/Exception.h"
#include "pxl/algorithms/AbstractPrivateImplementation.h"

namespace pxl::details {

/** A cancelled task group ends its loop without an exception; this throws it. */
inline void throwIfCancelled(algorithms::AbstractPrivateImplementation const& frame) {
  if (frame.m_cancelled.load(std::memory_order_relaxed)) throw ExceptionCancelation();
}

}  // namespace pxl::details
