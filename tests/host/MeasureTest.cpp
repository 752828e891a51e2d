#include <gtest/gtest.h>

#include <cmath>

#include "pxl/analysis/IntensityExtremaMsr.h"
#include "support/Raised.h"

namespace {

using namespace host_test;
using object_model::Tuple;
using object_model::TupleX;
using pxl::analysis::IntensityExtremaMsr;
using pxl::analysis::MeasureArray;

TupleX makeShape(unsigned long a, unsigned long b, unsigned long c) {
  TupleX shape(3);
  shape[0] = a;
  shape[1] = b;
  shape[2] = c;
  return shape;
}

TEST(MeasureArray, IsPackedAndNaNAfterResize) {
  MeasureArray array;
  for (unsigned int i = 0; i < 3; ++i) EXPECT_EQ(array.getSize(i), 0u);
  for (int round = 0; round < 2; ++round) {
    array.resize(makeShape(2, 3, 4));
    EXPECT_EQ(array.getSize(0), 2u);
    EXPECT_EQ(array.getSize(1), 3u);
    EXPECT_EQ(array.getSize(2), 4u);
    EXPECT_EQ(array.strides[0], 1u);
    EXPECT_EQ(array.strides[1], 2u);
    EXPECT_EQ(array.strides[2], 6u);
    for (int i = 0; i < 24; ++i) {
      EXPECT_TRUE(std::isnan(array.values[i]));
      // What an earlier run left must not come back.
      array.values[i] = i;
    }
  }
  for (unsigned long i2 = 0; i2 < 4; ++i2)
    for (unsigned long i1 = 0; i1 < 3; ++i1)
      for (unsigned long i0 = 0; i0 < 2; ++i0)
        EXPECT_EQ(array.getValue(i0, i1, i2), static_cast<double>(i0 + 2 * i1 + 6 * i2));
}

TEST(MeasureArray, MayBecomeEmptyOrSmaller) {
  MeasureArray array;
  array.resize(makeShape(5, 5, 5));
  array.resize(makeShape(3, 0, 2));
  EXPECT_EQ(array.getSize(1), 0u);
  array.resize(makeShape(1, 1, 1));
  EXPECT_TRUE(std::isnan(array.getValue(0, 0, 0)));
}

TEST(MeasureArray, RefusesAShapeThatHasNotThreeDimensionsOrOverflows) {
  MeasureArray array;
  refusalOf([&] { array.resize(TupleX(2)); });
  refusalOf([&] { array.resize(TupleX(4)); });
  refusalOf([&] { array.resize(makeShape(1UL << 32, 1UL << 32, 2)); });
  EXPECT_EQ(array.getSize(0), 0u);
}

// An array of a caller with gaps between its lines.
class Padded : public MeasureArray {
 public:
  void resize(Tuple const& shape) override {
    allocate(shape, shape[0] + 1, (shape[0] + 1) * (shape[1] + 2), (shape[0] + 1) * (shape[1] + 2) * shape[2]);
  }
};

TEST(MeasureArray, MayHaveStridesOfItsOwn) {
  Padded array;
  array.resize(makeShape(2, 3, 2));
  EXPECT_EQ(array.strides[1], 3u);
  EXPECT_EQ(array.strides[2], 15u);
  array.values[1 + 3 * 2 + 15 * 1] = 8;
  EXPECT_EQ(array.getValue(1, 2, 1), 8);
}

TEST(IntensityExtremaMeasure, HasArraysOfItsOwnOrOfTheCaller) {
  IntensityExtremaMsr own;
  EXPECT_NE(&own.minimum, &own.maximum);
  own.minimum.resize(makeShape(1, 1, 1));
  own.minimum.values[0] = 4;
  own.maximum.resize(makeShape(1, 1, 1));
  EXPECT_EQ(own.minimum.getValue(0, 0, 0), 4);
  Padded minimum, maximum;
  IntensityExtremaMsr const foreign(minimum, maximum);
  EXPECT_EQ(&foreign.minimum, &minimum);
  EXPECT_EQ(&foreign.maximum, &maximum);
  foreign.minimum.resize(makeShape(2, 2, 2));
  EXPECT_EQ(minimum.getSize(0), 2u);
  EXPECT_EQ(minimum.strides[1], 3u);
}

// A program prints and scales a measure without knowing whose it is.
TEST(IntensityExtremaMeasure, NamesAndScalesItsArrays) {
  IntensityExtremaMsr extrema;
  extrema.minimum.resize(makeShape(1, 2, 1));
  extrema.maximum.resize(makeShape(1, 2, 1));
  extrema.minimum.values[0] = 4;
  extrema.maximum.values[0] = 9;
  extrema.minimum.values[1] = -1;
  extrema.maximum.values[1] = 0;
  pxl::analysis::Measure& measure = extrema;
  auto const entries = measure.getEntries();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_STREQ(entries[0].name, "minimum");
  EXPECT_EQ(entries[0].array, &extrema.minimum);
  EXPECT_STREQ(entries[1].name, "maximum");
  EXPECT_EQ(entries[1].array, &extrema.maximum);
  measure.scale(2, 1);
  EXPECT_EQ(extrema.minimum.getValue(0, 0, 0), 9);
  EXPECT_EQ(extrema.maximum.getValue(0, 0, 0), 19);
  measure.scale(-1, 0);
  EXPECT_EQ(extrema.minimum.getValue(0, 0, 0), -19);
  EXPECT_EQ(extrema.maximum.getValue(0, 0, 0), -9);
  EXPECT_EQ(extrema.minimum.getValue(0, 1, 0), -1);
  EXPECT_EQ(extrema.maximum.getValue(0, 1, 0), 1);
}

}  // namespace
