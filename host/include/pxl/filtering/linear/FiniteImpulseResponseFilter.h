#pragma once

#include "pxl/BaseAlgorithm.h"
#include "pxl/Property.h"

namespace pxl::filtering::linear {

/**
 * Correlation of plan 0 of each stack with a kernel of taps, mirrored at the image's edge. Other plans are left as
 * they are. Computed in float for results of 8 and 16 bits and float, else in double, in the order of the taps, each
 * step rounded.
 */
class PXL_API FiniteImpulseResponseFilter2D : public BaseAlgorithm {
 public:
  FiniteImpulseResponseFilter2D();
  ~FiniteImpulseResponseFilter2D() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;
  String getNotice() const override;
  RegionUses getRegionUse() const override;
  kernel::Margins getMargins() const override;
  unsigned long getMaxNumOfWrittenPlans() const override;
  std::vector<kernel::Offset3D> getOffsets() const override;

  Property<ImageModel const*> inputImage{*this, "inputImage", "image to read"};
  Property<kernel::Kernel2D> kernel{*this, "kernel", "taps, rows x columns"};
  Property<ImageModel*> outputImage{*this, "outputImage", "image to write"};
};

/** The same on volumes. */
class PXL_API FiniteImpulseResponseFilter3D : public BaseAlgorithm {
 public:
  FiniteImpulseResponseFilter3D();
  ~FiniteImpulseResponseFilter3D() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;
  kernel::Margins getMargins() const override;
  std::vector<kernel::Offset3D> getOffsets() const override;

  Property<ImageModel const*> inputImage{*this, "inputImage", "image to read"};
  Property<kernel::Kernel3D> kernel{*this, "kernel", "taps, plans x rows x columns"};
  Property<ImageModel*> outputImage{*this, "outputImage", "image to write"};
};

}  // namespace pxl::filtering::linear
