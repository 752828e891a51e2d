#pragma once

#include "pxl/Export.h"
#include "pxl/String.h"

namespace pxl {

class BaseAlgorithm;

/** An implementation of one operator, registered with the operator's AlgoInfo. Usable from any number of threads. */
class PXL_API Runnable {
 public:
  virtual ~Runnable();

  /** Runs the configured algorithm to its end on the calling thread and the workers below it; fails by exception. */
  virtual void run(BaseAlgorithm* algorithm) const = 0;

  /** Whether run() can take this algorithm with its present properties on this machine. */
  virtual bool isRunnable(BaseAlgorithm* algorithm) const = 0;

  /** The optimisation type: among the accepting runners the host takes the highest, the earliest added on ties. */
  virtual int getOptimType() const = 0;

  /**
   * Why isRunnable() refuses this algorithm, in a few words for the user, such as "needs SSE4.1"; asked only after a
   * refusal. Empty, as here, if the runner has nothing to say.
   */
  virtual String explainRefusal(BaseAlgorithm* algorithm) const;

  /**
   * The name by which a user asks for this runner, such as that of an instruction set; runners of several operators
   * may share one. Empty, as here, if it has none: then only the host chooses it.
   */
  virtual char const* getName() const;
};

}  // namespace pxl
