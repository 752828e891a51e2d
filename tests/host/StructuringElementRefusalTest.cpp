#include <limits>

#include "pxl/kernel/StructuringElement.h"
#include "support/Raised.h"

namespace {

using namespace host_test;
using namespace pxl::kernel;

constexpr double cInfinity = std::numeric_limits<double>::infinity();
constexpr double cNaN = std::numeric_limits<double>::quiet_NaN();

std::string parsed(char const* text) {
  return refusalOf([text] { StructuringElement::parse(text); });
}

TEST(StructuringElementRefusal, TellsUnknownElements) {
  EXPECT_EQ(parsed("sphere(3)"),
            "\"sphere\" isn't an element; known are connectivity, disk, ball, line, line3d, disk3d, box, ellipse, "
            "ellipsoid, mask");
  EXPECT_TRUE(contains(parsed(""), "\"\" isn't an element"));
  EXPECT_TRUE(contains(parsed("Ball(3)"), "\"Ball\" isn't an element"));
}

TEST(StructuringElementRefusal, TellsHowAnElementIsWritten) {
  for (char const* text : {"ball", "ball(", "ball()x", "ball(1, fast, 2)", "ball(1"})
    EXPECT_EQ(parsed(text), "ball: is written ball(RADIUS[, fast|exact])") << text;
  EXPECT_EQ(parsed("line(3)"), "line: is written line(LENGTH, ANGLE)");
  EXPECT_EQ(parsed("box(3)"), "box: is written box([PLANS, ]ROWS, COLUMNS[, ORIGIN])");
  EXPECT_EQ(parsed("box(1, 2, 3, 4, 5)"), "box: is written box([PLANS, ]ROWS, COLUMNS[, ORIGIN])");
  EXPECT_EQ(parsed("ellipsoid(2, 1, 1)"),
            "ellipsoid: is written ellipsoid(RADIUS, PLAN SPACING, ROW SPACING, COLUMN SPACING)");
  EXPECT_EQ(parsed("mask(1, 0)"), "mask: is written mask(0 1 0; 1 1 1[, ORIGIN])");
}

TEST(StructuringElementRefusal, TellsWhichValueIsWrong) {
  EXPECT_EQ(parsed("ball()"), "ball: \"\" isn't a whole number from 0 on");
  EXPECT_EQ(parsed("ball(-1)"), "ball: \"-1\" isn't a whole number from 0 on");
  EXPECT_EQ(parsed("ball(2.5)"), "ball: \"2.5\" isn't a whole number from 0 on");
  EXPECT_EQ(parsed("ball(4294967296)"), "ball: \"4294967296\" isn't a whole number from 0 on");
  EXPECT_EQ(parsed("ball(3, slow)"), "ball: \"slow\" is neither fast nor exact");
  EXPECT_EQ(parsed("line(3, x)"), "line: \"x\" isn't a real number");
  EXPECT_EQ(parsed("line(3, inf)"), "line: an angle of a structuring element isn't finite");
  EXPECT_EQ(parsed("box(3, 2.5)"), "box: \"2.5\" isn't a whole number");
  EXPECT_EQ(parsed("mask(1 2)"), "mask: \"2\" is neither 0 nor 1");
  EXPECT_EQ(parsed("mask(1 1; 1)"), "mask: the rows have different lengths");
  EXPECT_EQ(parsed("mask(1 1;)"), "mask: a row is empty");
  EXPECT_EQ(parsed("mask()"), "mask: a row is empty");
  EXPECT_EQ(parsed("mask(1; 1 | 1)"), "mask: the plans have different numbers of rows");
  EXPECT_EQ(parsed("mask(1 | 1, 0, 0)"), "mask: an origin of 2 values doesn't fit 3 dimensions");
}

TEST(StructuringElementRefusal, TellsEmptyMasks) {
  EXPECT_EQ(parsed("mask(0 0; 0 0)"), "mask: a mask needs a voxel that isn't 0");
  EXPECT_EQ(refusalOf([] { StructuringElement::mask(nullptr, {1, 1}); }), "a mask needs the address of its voxels");
  unsigned char const voxel = 1;
  EXPECT_EQ(refusalOf([&voxel] {
              StructuringElement::mask(&voxel, {0, 1});
            }),
            "the size of an element is at least 1 in each dimension");
  EXPECT_EQ(refusalOf([&voxel] { StructuringElement::mask(&voxel, {1}); }),
            "an array of an element has 2 or 3 dimensions");
  EXPECT_EQ(refusalOf([&voxel] {
              StructuringElement::mask(&voxel, {1, 1, 1, 1});
            }),
            "an array of an element has 2 or 3 dimensions");
  EXPECT_EQ(refusalOf([&voxel] {
              StructuringElement::mask(&voxel, {1, 1}, {0, (1L << 31) + 1});
            }),
            "the origin of an element lies beyond 2^31 voxels");
  EXPECT_EQ(refusalOf([] {
              StructuringElement::box({0, 3});
            }),
            "the size of an element is at least 1 in each dimension");
}

TEST(StructuringElementRefusal, TellsSpacingsAndRadii) {
  for (double spacing : {0.0, -1.0, cInfinity, cNaN}) {
    EXPECT_EQ(refusalOf([=] {
                StructuringElement::ellipse(3, {1, spacing});
              }),
              "a spacing must be finite and above 0");
    EXPECT_EQ(refusalOf([=] {
                StructuringElement::ellipsoid(3, {spacing, 1, 1});
              }),
              "a spacing must be finite and above 0");
  }
  for (double radius : {-1.0, cInfinity, cNaN})
    EXPECT_EQ(refusalOf([=] {
                StructuringElement::ellipse(radius, {1, 1});
              }),
              "a radius must be finite and not negative");
  EXPECT_EQ(parsed("ellipsoid(3, 0, 1, 1)"), "ellipsoid: a spacing must be finite and above 0");
  EXPECT_EQ(refusalOf([] { StructuringElement::disk(2147483648, ElementModes::cFast); }),
            "a radius is at most 2147483647");
  EXPECT_EQ(refusalOf([] { StructuringElement::ball(2147483648, ElementModes::cFast); }),
            "a radius is at most 2147483647");
  EXPECT_EQ(refusalOf([] { StructuringElement::connectivity(5); }),
            "a connectivity must be 4, 8, 6, 18 or 26, not 5");
}

// Those that took time or memory in proportion to their element would not end here.
TEST(StructuringElementRefusal, TellsElementsThatAreTooLarge) {
  auto const explain = [](char const* count) {
    return std::string("a structuring element has at most 1000000 voxels, this one would need ") + count;
  };
  EXPECT_EQ(refusalOf([] { StructuringElement::disk(1000000000); }), explain("about 3.14e+18"));
  EXPECT_EQ(refusalOf([] { StructuringElement::box({1001, 1000}); }), explain("1001000"));
  EXPECT_EQ(refusalOf([] { StructuringElement::box({32768, 32768}); }), explain("1073741824"));
  EXPECT_EQ(refusalOf([] {
              StructuringElement::box({32768, 32769});
            }),
            "the array of an element has at most 2^30 voxels");
  EXPECT_EQ(refusalOf([] {
              StructuringElement::box({1L << 62, 1L << 62});
            }),
            "the array of an element has at most 2^30 voxels");
  EXPECT_EQ(refusalOf([] { StructuringElement::ellipse(1000, {1, 1}); }), explain("3141549"));
  EXPECT_EQ(refusalOf([] { StructuringElement::ellipsoid(1e6, {1, 1, 1}); }), explain("about 4.19e+18"));
  EXPECT_EQ(refusalOf([] {
              StructuringElement::ellipsoid(1e300, {1, 1, 1e-300});
            }).substr(0, 40),
            explain("").substr(0, 40));
  EXPECT_EQ(refusalOf([] { StructuringElement::ellipse(2e6, {1e7, 1}); }), explain("about 4e+06"));
  EXPECT_EQ(refusalOf([] { StructuringElement::connectivity(8, 500).getOffsets(); }), explain("1002001"));
  EXPECT_EQ(refusalOf([] { StructuringElement::connectivity(4, 4000000000).getOffsets(); }),
            explain("about 3.2e+19"));
  EXPECT_EQ(refusalOf([] { StructuringElement::ball(1000, ElementModes::cFast).getOffsets(); }),
            explain("about 1.33e+09"));
}

}  // namespace
