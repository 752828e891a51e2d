#pragma once

#include <tbb/task_group.h>

#include "pxl/Export.h"
#include "pxl/PartitionerPolicy.h"
#include "pxl/access/Region.h"
#include "pxl/algorithms/AbstractPrivateImplementation.h"

namespace pxl {

/**
 * A run, or a stage of one, that works through TBB: base of all filters. Its task group is isolated, so that nothing
 * but its own cancelExecution() stops it. One object serves one run.
 */
class PXL_API BaseTbbAlgorithm : public algorithms::AbstractPrivateImplementation {
 public:
  /** Copies the region that was chosen on `algorithm`, if any; `algorithm` may be null. */
  explicit BaseTbbAlgorithm(BaseAlgorithm* algorithm);
  ~BaseTbbAlgorithm() override;

  /** Raises the flag, then cancels the task group; from any thread. */
  void cancelExecution() override;

  /** A hook for hosts that run bodies by themselves; this host doesn't. */
  virtual void* getBody();

  void setProcessingRegion(access::Region const& region);

  /**
   * The smallest block that is still worth a task of its own, for the region to process and the threads of the
   * present arena. All three are at least 1.
   */
  void getPartitionerGrainSizes(AbstractPartitionerPolicy::PartitionerGrainSizes& grains) const;

  tbb::task_group_context m_taskGroupContext;
  access::Region m_processingRegion;
  bool m_isRegionChosen;  ///< a caller chose the region; views set before a run then don't change it
};

}  // namespace pxl
