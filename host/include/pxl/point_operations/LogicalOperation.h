#pragma once

#include "pxl/BaseAlgorithm.h"
#include "pxl/Property.h"

namespace pxl::point_operations {

/** Bitwise combination of two integer images; acts on the bits of the voxels, the same for all six integer types. */
class PXL_API LogicalOperationWithImage : public BaseAlgorithm {
 public:
  LogicalOperationWithImage();
  ~LogicalOperationWithImage() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;

  Property<ImageModel const*> inputImage1{*this, "inputImage1", "first image to read, a"};
  Property<ImageModel const*> inputImage2{*this, "inputImage2",
                                          "second image to read, b; converted to the type of a"};
  Property<int> logicalOperator{*this, "logicalOperator", 0,
                                "0 and, 1 or, 2 xor, 3 nand, 4 nor, 5 nxor, 6 a and not b"};
  Property<ImageModel*> outputImage{*this, "outputImage", "image to write"};
};

/** Bitwise combination of an integer image with one value. */
class PXL_API LogicalOperationWithValue : public BaseAlgorithm {
 public:
  LogicalOperationWithValue();
  ~LogicalOperationWithValue() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;

  Property<ImageModel const*> inputImage{*this, "inputImage", "image to read, a"};
  Property<unsigned int> value{*this, "value", "value to combine with, b"};
  Property<int> logicalOperator{*this, "logicalOperator", 0,
                                "0 and, 1 or, 2 xor, 3 nand, 4 nor, 5 nxor, 6 a and not b"};
  Property<ImageModel*> outputImage{*this, "outputImage", "image to write"};
};

}  // namespace pxl::point_operations
