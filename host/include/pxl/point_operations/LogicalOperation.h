#pragma once

#include "pxl/BaseAlgorithm.h"
#include "pxl/Property.h"

namespace pxl::point_operations {

/** The bitwise operators. Other numbers are invalid. */
enum LogicalOperators : int {
  cLogicalAnd = 0,
  cLogicalOr = 1,
  cLogicalXor = 2,
  cLogicalNand = 3,
  cLogicalNor = 4,
  cLogicalNxor = 5,
  cLogicalAndNot = 6
};

inline constexpr Choice cLogicalOperatorNames[] = {
    {"and", cLogicalAnd, "a & b"},       {"or", cLogicalOr, "a | b"},      {"xor", cLogicalXor, "a ^ b"},
    {"nand", cLogicalNand, "~(a & b)"},  {"nor", cLogicalNor, "~(a | b)"}, {"nxor", cLogicalNxor, "~(a ^ b)"},
    {"andnot", cLogicalAndNot, "a & ~b"}};

/**
 * Bitwise combination of two integer images: out(p) = a(p) op b(p), on the bits of the voxels in the type of a. The
 * output may be one of the inputs. Cost: one read of each input and one write.
 */
class PXL_API LogicalOperationWithImage : public BaseAlgorithm {
 public:
  LogicalOperationWithImage();
  ~LogicalOperationWithImage() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;

  Property<ImageModel const*> inputImage1{*this, "inputImage1", "first image to read, a"};
  Property<ImageModel const*> inputImage2{*this, "inputImage2",
                                          "second image to read, b; converted to the type of a"};
  /** One of LogicalOperators. */
  Property<int> logicalOperator{*this, "logicalOperator", cLogicalAnd, cLogicalOperatorNames,
                                "how the bits are combined"};
  Property<ImageModel*> outputImage{*this, "outputImage", "image to write"};
};

/** Bitwise combination of an integer image with one value: out(p) = a(p) op b. Otherwise the same. */
class PXL_API LogicalOperationWithValue : public BaseAlgorithm {
 public:
  LogicalOperationWithValue();
  ~LogicalOperationWithValue() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;

  Property<ImageModel const*> inputImage{*this, "inputImage", "image to read, a"};
  Property<unsigned int> value{*this, "value", "value to combine with, b"};
  /** One of LogicalOperators. */
  Property<int> logicalOperator{*this, "logicalOperator", cLogicalAnd, cLogicalOperatorNames,
                                "how the bits are combined"};
  Property<ImageModel*> outputImage{*this, "outputImage", "image to write"};
};

}  // namespace pxl::point_operations
