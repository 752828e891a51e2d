#pragma once

#include "Core/private/Helper/RunnerTests.h"
#include "pxl/Runnable.h"

namespace pxl::helper {

/** Base of the runners of this library: what all of them say of a refusal. */
class SSE41Runnable : public Runnable {
 public:
  String explainRefusal(BaseAlgorithm*) const override {
    return hasSSE() && hasSSE41Level() ? String() : String("the processor has no SSE4.1");
  }
};

}  // namespace pxl::helper
