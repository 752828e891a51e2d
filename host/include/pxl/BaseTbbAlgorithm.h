#pragma once

#include <tbb/task_group.h>

#include "pxl/Export.h"
#include "pxl/PartitionerPolicy.h"
#include "pxl/access/Region.h"
#include "pxl/algorithms/AbstractPrivateImplementation.h"

namespace pxl {

/**
 * A run, or a stage of one, that is parallel through TBB; base of all filters. Its task group is isolated: only its
 * own cancelExecution() stops it. One object serves one run.
 */
class PXL_API BaseTbbAlgorithm : public algorithms::AbstractPrivateImplementation {
 public:
  /** Copies the region that was chosen on `algorithm`, if any; `algorithm` may be null. */
  explicit BaseTbbAlgorithm(BaseAlgorithm* algorithm);
  ~BaseTbbAlgorithm() override;

  /** Sets the flag, then cancels the task group. From any thread. */
  void cancelExecution() override;

  /** A hook for hosts that run bodies on their own scheduler; returns null in this host. */
  virtual void* getBody();

  void setProcessingRegion(access::Region const& region);

  /**
   * The smallest block that is worth a task of its own, in voxels, for the processing region and the threads of the
   * present arena. All three sizes are at least 1.
   */
  void getPartitionerGrainSizes(AbstractPartitionerPolicy::PartitionerGrainSizes& grains) const;

  tbb::task_group_context m_taskGroupContext;
  access::Region m_processingRegion;
  bool m_isRegionChosen;  ///< the caller chose the region; setting views before a run doesn't change it then
};

}  // namespace pxl
