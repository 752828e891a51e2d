#pragma once

#include "Core/private/Helper/RunnerTests.h"
#include "pxl/Runnable.h"

namespace pxl::helper {

/** What all runners of this library answer alike. */
class SSE41Runner : public Runnable {
 public:
  int getOptimType() const override { return cOptimType; }
  String explainRefusal(BaseAlgorithm*) const override { return explainProcessor(); }
  char const* getName() const override { return cRunnerName; }
};

}  // namespace pxl::helper
