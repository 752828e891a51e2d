#pragma once

namespace pxl {

/** How finely the work on a region is split. */
class AbstractPartitionerPolicy {
 public:
  /** Blocks of these sizes, in voxels, are not split any further. */
  struct PartitionerGrainSizes {
    unsigned long cols;
    unsigned long rows;
    unsigned long plans;
  };
};

}  // namespace pxl
