#include <limits>

#include "access/support/Target.h"
#include "oracle/VoxelTypeTests.h"

namespace access_test {
namespace {

using oracle::Five;

/** Inclusive. */
struct Limits {
  long rowMin, rowMax, planMin, planMax, colMin, colMax;
};
constexpr long cFar = 1000000;
constexpr Limits cEverything{-cFar, cFar, -cFar, cFar, -cFar, cFar};
constexpr Limits cNothing{cFar, -cFar, cFar, -cFar, cFar, -cFar};

template <class Row>
void write(Row const& row, bool temporize, Limits const& l) {
  row.writeRow(temporize, l.rowMin, l.rowMax, l.planMin, l.planMax, l.colMin, l.colMax);
}

Limits withColumns(long colMin, long colMax) { return {-cFar, cFar, -cFar, cFar, colMin, colMax}; }

// The fate of each voxel of a row, computed one by one: 'w'ritten at once, 'h'eld back, or '-' dropped.
template <class Row>
std::string getFates(Row const& row, bool temporize, Limits const& l, Five const& sizes) {
  std::string fates;
  for (long k = 0; k < static_cast<long>(row.voxels.size()); ++k) {
    Five const p{row.col + k, row.row, row.plan, row.sequence, row.spectralSeries};
    bool isInside = true;
    for (unsigned long d = 0; d < 5; ++d) isInside = isInside && 0 <= p[d] && p[d] < sizes[d];
    bool const isFree = l.colMin <= p[0] && p[0] <= l.colMax && l.rowMin <= p[1] && p[1] <= l.rowMax &&
                        l.planMin <= p[2] && p[2] <= l.planMax;
    fates += !isInside ? '-' : isFree || !temporize ? 'w' : 'h';
  }
  return fates;
}

// The calls that follow: a run of voxels is one call, and a row with nothing to write goes on as it is.
template <class Row>
Calls callsOf(Row const& row, std::string const& fates, Limits const& l) {
  auto const call = [&row](char const* name, long from, long count) {
    return Call(name, {count, row.col + from, row.row, row.plan, row.sequence, row.spectralSeries});
  };
  long nbLeft = 0, nbWritten = 0, nbRight = 0, nbDropped = 0, nbBelowColMin = 0, nbFromColMin = 0, k = 0;
  for (char fate : fates) {
    if (fate == 'w') ++nbWritten;
    if (fate == 'h') ++(nbWritten == 0 ? nbLeft : nbRight);
    if (fate == '-' && nbLeft + nbWritten == 0) ++nbDropped;
    if (fate == 'h') ++(row.col + k < l.colMin ? nbBelowColMin : nbFromColMin);
    ++k;
  }
  Calls calls;
  if (nbWritten > 0) {
    if (nbLeft > 0) calls.push_back(call("temporizeRowWriting", nbDropped, nbLeft));
    if (nbRight > 0) calls.push_back(call("temporizeRowWriting", nbDropped + nbLeft + nbWritten, nbRight));
    calls.push_back(call("writeRowAt", nbDropped + nbLeft, nbWritten));
  } else if (nbLeft > 0) {
    // Margins that overlap: the left one is taken before it shows that nothing remains between them.
    bool const isNarrow = l.rowMin <= row.row && row.row <= l.rowMax && l.planMin <= row.plan &&
                          row.plan <= l.planMax && nbBelowColMin > 0 && nbFromColMin > 0;
    if (isNarrow) calls.push_back(call("temporizeRowWriting", nbDropped, nbBelowColMin));
    calls.push_back(call("temporizeRowWriting", 0, k));
  }
  return calls;
}

template <class T>
class OutputRowOf : public testing::Test {};
TEST_TYPES(OutputRowOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(OutputRowOf, GoesWhereEachOfItsVoxelsBelongs) {
  oracle::Random random(801);
  Target<TypeParam> target(random.image<TypeParam>({20, 6, 5, 3, 2}));
  Five const sizes = target.expected.sizes;
  pxl::instrument::Recorder probe;
  typename Target<TypeParam>::Row row(0, target.view.get());
  for (int i = 0; i < 1000; ++i) {
    Five const at{random.number(-25, 22), random.number(-1, 6), random.number(-1, 5),
                  random.number(0, 9) > 0 ? random.number(0, 2) : random.number(-1, 3),
                  random.number(0, 9) > 0 ? random.number(0, 1) : random.number(-1, 2)};
    placeRow(row, at, random.number(1, 45), random);
    Limits const limits{random.number(-2, 3), random.number(2, 7),   random.number(-2, 2),
                        random.number(2, 6),  random.number(-3, 14), random.number(6, 22)};
    bool const temporize = random.number(0, 7) > 0;
    std::string const fates = getFates(row, temporize, limits, sizes);
    probe.clear();
    write(row, temporize, limits);
    ASSERT_EQ(getCalls(probe), callsOf(row, fates, limits));
    // Written voxels are visible at once, held-back ones after the flush, and nothing else changes.
    for (char fate : {'w', 'h'}) {
      if (fate == 'h') target.view->writeAllTemporizedRows();
      for (unsigned long k = 0; k < fates.size(); ++k)
        if (fates[k] == fate)
          target.expected.at({at[0] + static_cast<long>(k), at[1], at[2], at[3], at[4]}) = row.voxels[k];
      target.expectStored();
      ASSERT_FALSE(this->HasFailure()) << fates;
    }
  }
}

class OutputRow : public testing::Test {
 protected:
  oracle::Random m_random{802};
  Target<short> m_target{m_random.image<short>({20, 6, 5, 3, 2})};
  pxl::instrument::Recorder m_probe;
  Target<short>::Row m_row{0, m_target.view.get()};

  // The calls of one row in row 2, plan 3, sequence 1, spectral series 1.
  Calls callsOfRow(long col, long nbVoxels, bool temporize, Limits const& limits) {
    placeRow(m_row, {col, 2, 3, 1, 1}, nbVoxels, m_random);
    m_probe.clear();
    write(m_row, temporize, limits);
    return getCalls(m_probe);
  }
  static Call written(long count, long col) { return {"writeRowAt", {count, col, 2, 3, 1, 1}}; }
  static Call heldBack(long count, long col) { return {"temporizeRowWriting", {count, col, 2, 3, 1, 1}}; }
};

TEST_F(OutputRow, IsDroppedBeyondTheImage) {
  Five const sizes = m_target.expected.sizes;
  for (unsigned long d = 1; d < 5; ++d)
    for (long outside :
         {-1L, -cFar, std::numeric_limits<long>::min(), sizes[d], sizes[d] + cFar, std::numeric_limits<long>::max()})
      // Also where the limits would hold it back.
      for (bool temporize : {false, true})
        for (Limits const& limits : {cEverything, cNothing}) {
          Five at{-3, 2, 3, 1, 1};
          at[d] = outside;
          placeRow(m_row, at, 30, m_random);
          write(m_row, temporize, limits);
          EXPECT_TRUE(getCalls(m_probe).empty()) << "dimension " << d << " at " << outside;
          m_probe.clear();
        }
  m_target.view->writeAllTemporizedRows();
  m_target.expectStored();
}

TEST_F(OutputRow, IsDroppedBesideTheImage) {
  for (bool temporize : {false, true})
    for (Limits const& limits : {cEverything, cNothing})
      for (long col : {-7L, -8L, -cFar, 20L, 21L, cFar})
        EXPECT_TRUE(callsOfRow(col, 7, temporize, limits).empty()) << col;
  EXPECT_EQ(callsOfRow(-6, 7, true, cEverything), Calls{written(1, 0)});
  EXPECT_EQ(callsOfRow(19, 7, true, cEverything), Calls{written(1, 19)});
}

TEST_F(OutputRow, IsClippedToTheImage) {
  for (bool temporize : {false, true}) {
    EXPECT_EQ(callsOfRow(-5, 20, temporize, cEverything), Calls{written(15, 0)});
    EXPECT_EQ(callsOfRow(12, 20, temporize, cEverything), Calls{written(8, 12)});
    EXPECT_EQ(callsOfRow(-5, 40, temporize, cEverything), Calls{written(20, 0)});
    EXPECT_EQ(callsOfRow(0, 20, temporize, cEverything), Calls{written(20, 0)});
  }
}

TEST_F(OutputRow, IsWrittenAtOnceWhenNothingIsHeldBack) {
  EXPECT_EQ(callsOfRow(3, 9, false, cNothing), Calls{written(9, 3)});
  EXPECT_EQ(callsOfRow(-3, 30, false, withColumns(5, 8)), Calls{written(20, 0)});
}

// Not clipped: the view drops the voxels beyond the image.
TEST_F(OutputRow, IsPassedOnWholeBeyondTheRowsAndPlans) {
  for (Limits const& limits : {Limits{3, cFar, -cFar, cFar, -cFar, cFar}, Limits{-cFar, 1, -cFar, cFar, -cFar, cFar},
                               Limits{-cFar, cFar, 4, cFar, -cFar, cFar}, Limits{-cFar, cFar, -cFar, 2, -cFar, cFar}})
    EXPECT_EQ(callsOfRow(-5, 40, true, limits), Calls{heldBack(40, -5)});
  EXPECT_EQ(callsOfRow(-5, 40, true, {2, 2, 3, 3, -cFar, cFar}), Calls{written(20, 0)});
}

TEST_F(OutputRow, KeepsTheMarginsAndWritesTheMiddle) {
  EXPECT_EQ(callsOfRow(4, 10, true, withColumns(7, 19)), (Calls{heldBack(3, 4), written(7, 7)}));
  EXPECT_EQ(callsOfRow(4, 10, true, withColumns(0, 11)), (Calls{heldBack(2, 12), written(8, 4)}));
  EXPECT_EQ(callsOfRow(4, 10, true, withColumns(5, 12)), (Calls{heldBack(1, 4), heldBack(1, 13), written(8, 5)}));
  EXPECT_EQ(callsOfRow(4, 10, true, withColumns(8, 8)), (Calls{heldBack(4, 4), heldBack(5, 9), written(1, 8)}));
  EXPECT_EQ(callsOfRow(-5, 40, true, withColumns(2, 16)), (Calls{heldBack(2, 0), heldBack(3, 17), written(15, 2)}));
  EXPECT_EQ(callsOfRow(4, 10, true, withColumns(4, 13)), Calls{written(10, 4)});
}

TEST_F(OutputRow, IsPassedOnWholeBesideTheColumns) {
  EXPECT_EQ(callsOfRow(4, 10, true, withColumns(14, 19)), Calls{heldBack(10, 4)});
  EXPECT_EQ(callsOfRow(4, 10, true, withColumns(13, 19)), (Calls{heldBack(9, 4), written(1, 13)}));
  EXPECT_EQ(callsOfRow(4, 10, true, withColumns(0, 3)), Calls{heldBack(10, 4)});
  EXPECT_EQ(callsOfRow(4, 10, true, withColumns(0, 4)), (Calls{heldBack(9, 5), written(1, 4)}));
  EXPECT_EQ(callsOfRow(-5, 40, true, withColumns(20, 30)), Calls{heldBack(40, -5)});
}

TEST_F(OutputRow, IsKeptTwiceBetweenMarginsThatOverlap) {
  EXPECT_EQ(callsOfRow(4, 10, true, withColumns(9, 6)), (Calls{heldBack(5, 4), heldBack(10, 4)}));
  EXPECT_EQ(callsOfRow(-5, 40, true, withColumns(9, 8)), (Calls{heldBack(9, 0), heldBack(40, -5)}));
  m_target.expectStored();
}

// At the left edge it is dropped as it ends before column 0; further right it has got through to the writing.
TEST_F(OutputRow, WithoutVoxelsIsAnErrorOnlyWithinTheImage) {
  for (bool temporize : {false, true}) {
    for (long col : {-4L, 0L, 20L}) EXPECT_TRUE(callsOfRow(col, 0, temporize, cEverything).empty());
    for (long col : {1L, 19L}) {
      EXPECT_THROW(callsOfRow(col, 0, temporize, cEverything), pxl::UnexpectedError);
      EXPECT_TRUE(getCalls(m_probe).empty());
    }
  }
}

TEST_F(OutputRow, TellsOfAWriteThatFails) {
  m_probe.onWrite = [](pxl::instrument::Event const&) { return false; };
  for (bool temporize : {false, true}) {
    try {
      callsOfRow(4, 10, temporize, withColumns(4, 13));
      FAIL() << "nothing was thrown";
    } catch (pxl::UnexpectedError const& error) {
      auto const& info = error.getExceptionInfo();
      EXPECT_EQ(info.message.str(), "Error in writeRowAt implementation, return value is false");
      EXPECT_EQ(info.file.str(), "Core/private/Access/Rows.impl");
      EXPECT_EQ(info.line, 550);
    }
    EXPECT_EQ(getCalls(m_probe), Calls{written(10, 4)});
  }
}

TEST_F(OutputRow, IsLostWhenItIsNotWritten) {
  {
    Target<short>::Row row(0, m_target.view.get());
    placeRow(row, {0, 0, 0, 0, 0}, 20, m_random);
  }
  EXPECT_TRUE(getCalls(m_probe).empty());
  m_target.view->writeAllTemporizedRows();
  m_target.expectStored();
}

}  // namespace
}  // namespace access_test
