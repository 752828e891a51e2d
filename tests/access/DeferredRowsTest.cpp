#include <algorithm>
#include <thread>

#include "access/support/Target.h"
#include "oracle/VoxelTypeTests.h"

namespace access_test {
namespace {

using oracle::Five;
using pxl::access::Block2d;
using pxl::access::OverlapBorder;

template <class T>
class DeferredRowsOf : public testing::Test {
 protected:
  oracle::Random m_random{821};
  Target<T> m_target{m_random.image<T>({23, 7, 4, 2, 2})};
  typename Target<T>::Row m_row{0, m_target.view.get()};

  // Puts voxels `from` to `end` - 1 of the row where they belong, as far as that is in the image.
  void expectRow(long from, long end) {
    for (long k = from; k < end; ++k) {
      Five const p{m_row.col + k, m_row.row, m_row.plan, m_row.sequence, m_row.spectralSeries};
      bool isInside = true;
      for (unsigned long d = 0; d < 5; ++d) isInside = isInside && 0 <= p[d] && p[d] < m_target.expected.sizes[d];
      if (isInside) m_target.expected.at(p) = m_row.voxels[static_cast<unsigned long>(k)];
    }
  }
  void spoilRow() { std::fill(m_row.voxels.begin(), m_row.voxels.end(), T(77)); }
};
TEST_TYPES(DeferredRowsOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

// The buffer serves the next row right after the call.
TEST_OF_TYPES(DeferredRowsOf, AreCopies) {
  for (int pass = 0; pass < 2; ++pass) {
    oracle::Image<TypeParam> const before = this->m_target.expected;
    oracle::forEachPosition({1, 7, 4, 2, 2}, [&](Five const& p) {
      placeRow(this->m_row, p, 23, this->m_random);
      this->expectRow(0, 23);
      this->m_target.view->temporizeRowWriting(this->m_row);
      this->spoilRow();
    });
    oracle::Image<TypeParam> const after = this->m_target.expected;
    this->m_target.expected = before;
    this->m_target.expectStored();
    this->m_target.expected = after;
    this->m_target.view->writeAllTemporizedRows();
    this->m_target.expectStored();
  }
}

TEST_OF_TYPES(DeferredRowsOf, AreStoredAsFarAsTheyLieInTheImage) {
  for (Five const& at :
       {Five{-5, 1, 1, 1, 1}, Five{18, 2, 1, 1, 1}, Five{-1, 3, 1, 1, 1}, Five{-40, 3, 2, 0, 0}, Five{23, 3, 2, 0, 0},
        Five{0, -1, 1, 1, 1}, Five{0, 7, 1, 1, 1}, Five{0, 1, -1, 1, 1}, Five{0, 1, 4, 1, 1}, Five{0, 1, 1, -1, 1},
        Five{0, 1, 1, 2, 1}, Five{0, 1, 1, 1, -1}, Five{0, 1, 1, 1, 2}}) {
    placeRow(this->m_row, at, 30, this->m_random);
    this->expectRow(0, 30);
    this->m_target.view->temporizeRowWriting(this->m_row);
    this->spoilRow();
  }
  this->m_target.view->writeAllTemporizedRows();
  this->m_target.expectStored();
}

TEST_OF_TYPES(DeferredRowsOf, MayBeAPartOfARow) {
  for (long offset = 0; offset < 12; ++offset)
    for (long count = 1; offset + count <= 12; ++count) {
      placeRow(this->m_row, {4, offset % 7, count % 4, 1, 0}, 12, this->m_random);
      this->expectRow(offset, offset + count);
      this->m_target.view->temporizeRowWriting(this->m_row, static_cast<unsigned long>(count),
                                               static_cast<unsigned long>(offset));
      this->spoilRow();
      this->m_target.view->writeAllTemporizedRows();
      this->m_target.expectStored();
    }
}

TEST_OF_TYPES(DeferredRowsOf, AreStoredOnce) {
  pxl::instrument::Recorder probe;
  this->m_target.view->writeAllTemporizedRows();
  EXPECT_EQ(probe.count("writeRowAt"), 0U);
  for (long r = 0; r < 3; ++r) {
    placeRow(this->m_row, {2, r, 0, 0, 0}, 9, this->m_random);
    this->m_target.view->temporizeRowWriting(this->m_row);
  }
  EXPECT_EQ(probe.count("writeRowAt"), 0U);
  this->m_target.view->writeAllTemporizedRows();
  long nbVoxels = 0;
  for (auto const& event : probe.getTrace("writeRowAt")) nbVoxels += event.values[0];
  EXPECT_EQ(nbVoxels, 27);
  probe.clear();
  this->m_target.view->writeAllTemporizedRows();
  EXPECT_EQ(probe.count("writeRowAt"), 0U);
}

// The row is lost where its write fails, but not what was held back of it and of others before.
TEST_OF_TYPES(DeferredRowsOf, StayWithTheViewWhenAWriteFails) {
  pxl::instrument::Recorder probe;
  probe.onWrite = [](pxl::instrument::Event const&) { return false; };
  placeRow(this->m_row, {0, 1, 1, 1, 1}, 23, this->m_random);
  oracle::Image<TypeParam> const before = this->m_target.expected;
  this->expectRow(0, 3);
  this->expectRow(19, 23);
  EXPECT_THROW(this->m_row.writeRow(true, 0, 6, 0, 3, 3, 18), pxl::UnexpectedError);
  oracle::Image<TypeParam> const after = this->m_target.expected;
  this->m_target.expected = before;
  this->m_target.expectStored();
  probe.onWrite = nullptr;
  this->m_target.expected = after;
  this->m_target.view->writeAllTemporizedRows();
  this->m_target.expectStored();
}

TEST_OF_TYPES(DeferredRowsOf, StayUntilTheyAreStored) {
  pxl::instrument::Recorder probe;
  for (long r = 0; r < 3; ++r) {
    placeRow(this->m_row, {2, r, 1, 0, 1}, 9, this->m_random);
    this->expectRow(0, 9);
    this->m_target.view->temporizeRowWriting(this->m_row);
  }
  for (long failing : {0L, 1L, 2L}) {
    probe.onWrite = [failing](pxl::instrument::Event const& event) { return event.values[2] != failing; };
    EXPECT_THROW(this->m_target.view->writeAllTemporizedRows(), pxl::UnexpectedError);
  }
  probe.onWrite = nullptr;
  this->m_target.view->writeAllTemporizedRows();
  this->m_target.expectStored();
  probe.clear();
  this->m_target.view->writeAllTemporizedRows();
  EXPECT_EQ(probe.count("writeRowAt"), 0U);
}

TEST(DeferredRows, MayBeLongAndMany) {
  oracle::Random random(823);
  Target<double> target(random.image<double>({20000, 40, 1, 1, 1}));
  Target<double>::Row row(0, target.view.get());
  oracle::Image<double> made = target.expected;
  for (int pass = 0; pass < 2; ++pass) {
    for (long r = 0; r < 40; ++r) {
      // Long ones between short ones.
      long const nbVoxels = r % 3 == 0 ? 20000 : r * 50;
      placeRow(row, {0, r, 0, 0, 0}, nbVoxels, random);
      for (long k = 0; k < nbVoxels; ++k) made.at({k, r, 0, 0, 0}) = row.voxels[static_cast<unsigned long>(k)];
      target.view->temporizeRowWriting(row);
    }
    target.expectStored();
    target.view->writeAllTemporizedRows();
    target.expected = made;
    target.expectStored();
  }
}

// Concurrent threads in the same rows, with voxels of one byte: neighbours in the same word.
TEST(DeferredRows, AreKeptForManyThreadsAtOnce) {
  constexpr long cNbThreads = 8, cWidth = 9, cNbRows = 60;
  oracle::Random random(822);
  Target<unsigned char> target(random.image<unsigned char>({cNbThreads * cWidth, cNbRows, 1, 1, 1}));
  OverlapBorder const overlap(pxl::AlgoBorderInfluence(2, 1, 0, 0, 0));
  for (int pass = 0; pass < 3; ++pass) {
    oracle::Image<unsigned char> const made = random.image<unsigned char>(target.expected.sizes);
    std::vector<std::thread> threads;
    for (long t = 0; t < cNbThreads; ++t)
      threads.emplace_back([&, t] {
        Block2d const block(0, cNbRows, 1, t * cWidth, (t + 1) * cWidth, 1, 0, 0, 0);
        auto const cache = target.view->createRowCacheReadWrite(1);
        for (long r = 0; r < cNbRows; ++r) {
          auto* const row = cache->getRowInBlock(0, cWidth, block, 0, r, 0, 0, 0);
          for (long c = 0; c < cWidth; ++c)
            row->voxels[static_cast<unsigned long>(c)] = made.at({t * cWidth + c, r, 0, 0, 0});
          row->writeRow(block, overlap);
        }
      });
    for (std::thread& thread : threads) thread.join();
    oracle::forEachPosition(made.sizes, [&](Five const& p) {
      long const begin = p[0] / cWidth * cWidth;
      if (!isInMargin(p, Block2d(0, cNbRows, 1, begin, begin + cWidth, 1, 0, 0, 0), overlap, made.sizes))
        target.expected.at(p) = made.at(p);
    });
    target.expectStored();
    target.view->writeAllTemporizedRows();
    target.expected = made;
    target.expectStored();
  }
}

}  // namespace
}  // namespace access_test
