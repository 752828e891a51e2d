#pragma once

#include "pxl/BaseAlgorithm.h"
#include "pxl/Property.h"

namespace pxl::filtering::linear {

/**
 * Correlation of plan 0 of each stack with the taps of a kernel; other plans of the output keep their values:
 *
 *   out(p) = sum over the taps k of coefficient_k * in(p + offset_k)
 *
 * Border: mirrored, see MirrorBorderCondition. Aliasing: input and output may be the same image.
 * Precision: float for outputs of float and of 8- and 16-bit integers, else double. Products are added in the order
 * of the taps, and each step is rounded. The sum is converted to the output type as DataConvertionTypes defines.
 * Cost: proportional to voxels x taps.
 */
class PXL_API FiniteImpulseResponseFilter2D : public BaseAlgorithm {
 public:
  FiniteImpulseResponseFilter2D();
  ~FiniteImpulseResponseFilter2D() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;
  String getWarning() const override;
  RegionUses getRegionUse() const override;
  kernel::Margins getMargins() const override;
  unsigned long getMaxNumOfWrittenPlans() const override;
  std::vector<kernel::Offset3D> getOffsets() const override;

  Property<ImageModel const*> inputImage{*this, "inputImage", "image to read"};
  Property<kernel::Kernel2D> kernel{*this, "kernel", "taps, rows x columns"};
  Property<ImageModel*> outputImage{*this, "outputImage", "image to write"};
};

/** The same in volumes: all plans are computed, and offsets have three dimensions. */
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
