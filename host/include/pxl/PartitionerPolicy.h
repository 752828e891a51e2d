#pragma once

namespace pxl {

/** Decides into how large pieces the work on a region is cut. */
class AbstractPartitionerPolicy {
 public:
  /** The smallest sizes that are not cut any further. */
  struct PartitionerGrainSizes {
    unsigned long cols;
    unsigned long rows;
    unsigned long plans;
  };
};

}  // namespace pxl
