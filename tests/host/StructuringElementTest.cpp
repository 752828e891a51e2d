#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "oracle/Shapes.h"
#include "pxl/kernel/StructuringElement.h"
#include "support/Random.h"

namespace {

using namespace host_test;
using namespace pxl::kernel;
using oracle::Offset;
using oracle::OffsetList;

OffsetList listOf(StructuringElement const& element) {
  OffsetList list;
  for (Offset3D const& offset : element.getOffsets()) list.push_back({offset.col, offset.row, offset.plan});
  return list;
}

bool precedes(Offset const& a, Offset const& b) { return Offset{a[2], a[1], a[0]} < Offset{b[2], b[1], b[0]}; }

OffsetList sorted(OffsetList list) {
  std::sort(list.begin(), list.end(), precedes);
  return list;
}

OffsetList negated(OffsetList list) {
  for (Offset& offset : list) offset = {-offset[0], -offset[1], -offset[2]};
  return list;
}

Margins marginsOf(OffsetList const& list) {
  Margins margins;
  auto const widen = [](unsigned long& before, unsigned long& after, long offset) {
    unsigned long& side = offset < 0 ? before : after;
    side = std::max(side, static_cast<unsigned long>(std::labs(offset)));
  };
  for (Offset const& offset : list) {
    widen(margins.colsBefore, margins.colsAfter, offset[0]);
    widen(margins.rowsBefore, margins.rowsAfter, offset[1]);
    widen(margins.plansBefore, margins.plansAfter, offset[2]);
  }
  return margins;
}

/** The rules of every element: its list, and what follows from it. */
void expectElement(StructuringElement const& element, OffsetList const& list, int dimension) {
  std::string const text = element.toString().str();
  ASSERT_EQ(listOf(element), list) << text;
  ASSERT_EQ(element.getDimension(), dimension) << text;
  ASSERT_TRUE(element.getMargins() == marginsOf(list)) << text;
  StructuringElement const mirrored = element.getMirrored();
  ASSERT_EQ(sorted(listOf(mirrored)), sorted(negated(list))) << text;
  ASSERT_TRUE(mirrored.getMargins() == marginsOf(negated(list))) << text;
  ASSERT_EQ(listOf(mirrored.getMirrored()), list) << text;
  ASSERT_TRUE(StructuringElement::parse(element.toString()) == element) << text;
  ASSERT_EQ(StructuringElement::parse(element.toString()).toString(), element.toString());
}

TEST(StructuringElement, ConnectivitiesAreTheirNeighboursRepeated) {
  struct Case {
    unsigned int nbNeighbours;
    int maxSteps, dimension;
  };
  for (Case const& c : {Case{4, 1, 2}, Case{8, 2, 2}, Case{6, 1, 3}, Case{18, 2, 3}, Case{26, 3, 3}})
    for (long iterations : {0, 1, 2, 3, 4}) {
      OffsetList const expected =
          sorted(oracle::addTimes({{0, 0, 0}}, oracle::makeElementary(c.maxSteps, c.dimension - 2), iterations));
      expectElement(StructuringElement::connectivity(c.nbNeighbours, static_cast<unsigned int>(iterations)), expected,
                    c.dimension);
    }
}

TEST(StructuringElement, RoundShapesAreThoseOfTheOperators) {
  for (long radius : {0, 1, 2, 3, 4, 5, 7, 10, 11}) {
    auto const size = static_cast<unsigned int>(radius);
    expectElement(StructuringElement::disk(size), oracle::makeDisk(radius), 2);
    expectElement(StructuringElement::ball(size), oracle::makeBall(radius), 3);
    expectElement(StructuringElement::disk(size, ElementModes::cFast), sorted(oracle::makeOctagon(radius)), 2);
    if (radius < 8)
      expectElement(StructuringElement::ball(size, ElementModes::cFast), sorted(oracle::makePolyhedron(radius)), 3);
  }
}

TEST(StructuringElement, LinesAndFlatDisksAreThoseOfTheOperators) {
  for (double angle : {0.0, 30.0, 45.0, 90.0, 135.5, -20.25, 359.0, 725.0})
    for (long size : {0, 1, 2, 3, 4, 8, 21, 100}) {
      auto const length = static_cast<unsigned int>(size);
      expectElement(StructuringElement::line(length, angle), oracle::makeLine(0, angle, size), 2);
      for (double elevation : {0.0, 33.25, -90.0, 45.0})
        expectElement(StructuringElement::line3d(length, angle, elevation), oracle::makeLine(elevation, angle, size),
                      3);
      if (size < 9)
        expectElement(StructuringElement::disk3d(length, angle, 33), oracle::makeFlatDisk(33, angle, size), 3);
    }
}

TEST(StructuringElement, TheMirroredLineIsTurnedAround) {
  EXPECT_EQ(StructuringElement::line(4, 30).getMirrored(), StructuringElement::line(4, 210));
  EXPECT_EQ(StructuringElement::line3d(4, 210, 12).getMirrored(), StructuringElement::line3d(4, 30, -12));
  Random random;
  for (int i = 0; i < 1000; ++i) {
    double const angle = random.between(-100000, 100000) / 100.0, elevation = random.between(-9000, 9000) / 100.0;
    auto const line = StructuringElement::line3d(random.between(1U, 60U), angle, elevation);
    ASSERT_EQ(listOf(line.getMirrored()), negated(listOf(line))) << line.toString().c_str();
  }
}

TEST(StructuringElement, EllipsesAreMeasuredInTheUnitsOfTheirSpacing) {
  Random random;
  for (int i = 0; i < 200; ++i) {
    // Sixteenths, whose squares are exact.
    auto const sixteenth = [&random](long most) { return static_cast<double>(random.between(4L, most)) / 16; };
    double const radius = sixteenth(80), plan = sixteenth(40), row = sixteenth(40), col = sixteenth(40);
    auto const isWithin = [&](Offset const& o) {
      double const x = static_cast<double>(o[0]) * col, y = static_cast<double>(o[1]) * row,
                   z = static_cast<double>(o[2]) * plan;
      return x * x + y * y + z * z <= radius * radius;
    };
    expectElement(StructuringElement::ellipsoid(radius, {plan, row, col}), oracle::selectInBox(20, 20, 20, isWithin),
                  3);
    expectElement(StructuringElement::ellipse(radius, {row, col}), oracle::selectInBox(20, 20, 0, isWithin), 2);
  }
  // 3 * 0.1 is more than 0.3 in binary; the voxel is on the rim, and in.
  EXPECT_EQ(listOf(StructuringElement::ellipse(0.3, {0.1, 0.1})), oracle::makeDisk(3));
  EXPECT_EQ(listOf(StructuringElement::ellipsoid(3e-200, {1e-200, 1e-200, 1e-200})), oracle::makeBall(3));
  EXPECT_EQ(listOf(StructuringElement::ellipsoid(3e200, {1e200, 1e200, 1e200})), oracle::makeBall(3));
  EXPECT_EQ(listOf(StructuringElement::ellipse(0, {2, 2})), (OffsetList{{0, 0, 0}}));
  EXPECT_EQ(listOf(StructuringElement::ellipsoid(6, {2.5, 1, 1})).size(), 381u);
}

TEST(StructuringElement, BoxesAndMasksOfAnyOriginAreTheirArray) {
  Random random;
  for (int i = 0; i < 500; ++i) {
    int const dimension = random.between(2, 3);
    std::vector<long> sizes, origin;
    for (int d = 0; d < dimension; ++d) {
      sizes.push_back(random.between(1L, 6L));
      origin.push_back(i % 2 == 0 ? sizes.back() / 2 : random.between(-4L, 9L));
    }
    auto const at = [dimension](std::vector<long> const& values, int axis) {
      return axis < 3 - dimension ? 0 : values[static_cast<std::size_t>(axis - 3 + dimension)];
    };
    std::vector<unsigned char> array;
    OffsetList inMask, inBox;
    for (long plan = 0; plan < std::max(at(sizes, 0), 1L); ++plan)
      for (long row = 0; row < at(sizes, 1); ++row)
        for (long col = 0; col < at(sizes, 2); ++col) {
          inBox.push_back({col - at(origin, 2), row - at(origin, 1), plan - at(origin, 0)});
          array.push_back(static_cast<unsigned char>(random.between(0, 2)));
          if (array.back() != 0) inMask.push_back(inBox.back());
        }
    if (inMask.empty()) inMask.push_back(inBox[array.size() / 2]), array[array.size() / 2] = 1;
    expectElement(StructuringElement::mask(array.data(), sizes, origin), inMask, dimension);
    expectElement(StructuringElement::box(sizes, origin), inBox, dimension);
    if (i % 2 == 0) {
      ASSERT_EQ(StructuringElement::mask(array.data(), sizes), StructuringElement::mask(array.data(), sizes, origin));
      ASSERT_EQ(StructuringElement::box(sizes), StructuringElement::box(sizes, origin));
    }
  }
}

TEST(StructuringElement, TextsAreShortAndReadBack) {
  struct Case {
    char const *given, *printed;
  };
  for (Case const& c : {Case{"ball(5)", "ball(5)"},
                        {" disk ( 10 ,fast ) ", "disk(10, fast)"},
                        {"disk(10, exact)", "disk(10)"},
                        {"connectivity(18)", "connectivity(18, 1)"},
                        {"connectivity(8, 3)", "connectivity(8, 3)"},
                        {"line(21, 30)", "line(21, 30)"},
                        {"line(21, -30.25)", "line(21, -30.25)"},
                        {"line3d(7, 0.1, 1e3)", "line3d(7, 0.1, 1000)"},
                        {"disk3d(4, 10, 20)", "disk3d(4, 10, 20)"},
                        {"box(3, 5)", "box(3, 5)"},
                        {"box(3, 5, 1, 2)", "box(3, 5)"},
                        {"box(3, 5, 0, 7)", "box(3, 5, 0, 7)"},
                        {"box(2, 3, 5, 1, 1, -2)", "box(2, 3, 5, 1, 1, -2)"},
                        {"ellipse(2.5, 1, 0.5)", "ellipse(2.5, 1, 0.5)"},
                        {"ellipsoid(6, 2.5, 1, 1)", "ellipsoid(6, 2.5, 1, 1)"},
                        {"mask(0 1 0;1 1 1)", "mask(0 1 0; 1 1 1)"},
                        {"mask(0 0 0; 1 1 0)", "mask(1 1)"},
                        {"mask(1 0; 0 1, 1, 0)", "mask(1 0; 0 1, 1, 0)"},
                        {"mask(1 0 | 0 1)", "mask(1 0 | 0 1)"},
                        {"mask(1, 0, 0, 0)", "mask(1, 0, 0, 0)"}}) {
    StructuringElement const element = StructuringElement::parse(c.given);
    EXPECT_STREQ(element.toString().c_str(), c.printed) << c.given;
    EXPECT_EQ(StructuringElement::parse(c.printed), element) << c.given;
  }
}

TEST(StructuringElement, EqualElementsHaveOneKindAndEqualParameters) {
  std::vector<StructuringElement> different{StructuringElement()};
  for (char const* text : {"disk(1)",
                           "disk(1, fast)",
                           "disk(2)",
                           "ball(1)",
                           "connectivity(4)",
                           "connectivity(4, 2)",
                           "connectivity(6)",
                           "line(3, 0)",
                           "line(3, 10)",
                           "line(1, 0)",
                           "line3d(3, 0, 0)",
                           "line3d(3, 0, 1)",
                           "box(1, 3)",
                           "box(3, 1)",
                           "box(1, 1, 3)",
                           "mask(1 1 1)",
                           "mask(1 1 1, 0, 0)",
                           "mask(1 1 1, 0, 0, 1)",
                           "ellipse(1, 1, 1)",
                           "ellipse(1.5, 1, 1)",
                           "ellipse(1, 1, 1.25)",
                           "ellipsoid(1, 1, 1, 1)"})
    different.push_back(StructuringElement::parse(text));
  for (std::size_t i = 0; i < different.size(); ++i)
    for (std::size_t j = 0; j < different.size(); ++j) {
      StructuringElement const copy = different[j];
      EXPECT_EQ(different[i] == copy, i == j) << different[i].toString().c_str() << ", " << copy.toString().c_str();
    }
}

TEST(StructuringElement, WithoutAnElementThereIsNothing) {
  StructuringElement const none;
  EXPECT_EQ(none.getKind(), ElementKinds::cNone);
  EXPECT_EQ(none.getDimension(), 0);
  EXPECT_TRUE(none.getOffsets().empty());
  EXPECT_TRUE(none.toString().empty());
  EXPECT_TRUE(none.getMargins() == Margins());
  EXPECT_EQ(none.getMirrored(), none);
}

TEST(StructuringElement, ElementsInPassesHaveNoLimit) {
  auto const wide = StructuringElement::connectivity(26, 4000000000);
  EXPECT_EQ(wide.getMargins().plansAfter, 4000000000UL);
  EXPECT_EQ(StructuringElement::disk(2147483647, ElementModes::cFast).getMargins().rowsBefore, 2147483647UL);
  EXPECT_EQ(StructuringElement::disk(2147483647, ElementModes::cFast).getMargins().plansBefore, 0UL);
  EXPECT_EQ(StructuringElement::connectivity(8, 499).getOffsets().size(), 999u * 999u);
  EXPECT_EQ(StructuringElement::connectivity(26, 49).getOffsets().size(), 99u * 99u * 99u);
}

TEST(StructuringElement, MarginsAddUp) {
  Margins const sum = Margins{1, 2, 3, 4, 5, 6} + Margins{10, 20, 30, 40, 50, 60};
  EXPECT_TRUE(sum == (Margins{11, 22, 33, 44, 55, 66}));
  for (auto member : {&Margins::colsBefore, &Margins::colsAfter, &Margins::rowsBefore, &Margins::rowsAfter,
                      &Margins::plansBefore, &Margins::plansAfter}) {
    Margins other = sum;
    ++(other.*member);
    EXPECT_TRUE(other != sum);
  }
}

}  // namespace
