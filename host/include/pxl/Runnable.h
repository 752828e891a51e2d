#pragma once

#include "pxl/Export.h"
#include "pxl/String.h"

namespace pxl {

class BaseAlgorithm;

/** An implementation of one operator, registered with the operator's AlgoInfo. Thread-safe. */
class PXL_API Runnable {
 public:
  virtual ~Runnable();

  /**
   * Runs the algorithm with its present properties on the calling thread and its workers, and returns when it is
   * done.
   * @throws Exception the run failed or was cancelled
   */
  virtual void run(BaseAlgorithm* algorithm) const = 0;

  /** Whether run() supports this algorithm with its present properties on this machine. */
  virtual bool isRunnable(BaseAlgorithm* algorithm) const = 0;

  /** The optimisation type. The host takes the accepting runner with the highest, the earliest added on ties. */
  virtual int getOptimType() const = 0;

  /**
   * Why isRunnable() refuses this algorithm, in a few words for the user, such as "needs SSE4.1". Only called after a
   * refusal. Here empty: no explanation.
   */
  virtual String explainRefusal(BaseAlgorithm* algorithm) const;

  /**
   * The name with which a user selects this runner, such as that of an instruction set. Runners of several operators
   * may share one. Here empty: only the host can choose the runner.
   */
  virtual char const* getName() const;

  /**
   * Whether run() makes a large element of smaller ones where that is less work. A composition then leaves the
   * element whole. Here false: it makes a box of lines.
   */
  virtual bool splitsElements() const;
};

}  // namespace pxl
