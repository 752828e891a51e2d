// Fields and virtual functions in the order of the contract: other compiled code uses their positions.
#include <array>

#include "access/support/Layout.h"
#include "access/support/Source.h"
#include "access/support/Target.h"
#include "oracle/VoxelTypeTests.h"
#include "pxl/access/Region.h"

namespace access_test {
namespace {

using oracle::Five;
using Offsets = std::vector<long>;

template <class T>
class LayoutOf : public testing::Test {
 protected:
  // Of rows of a cache, of a cache of rows, and of a cache of plans.
  template <class Cache>
  static Offsets readRowCache(Cache const& cache) {
    return {offsetOf(cache, cache.rows), offsetOf(cache, cache.nbRowsInUse), offsetOf(cache, cache.view),
            offsetOf(cache, cache.viewInterface), offsetOf(cache, cache.index)};
  }
  template <class Cache>
  static Offsets readPlanCache(Cache const& cache) {
    return {offsetOf(cache, cache.plans), offsetOf(cache, cache.view)};
  }

  oracle::Random m_random{841};
  Target<T> m_target{m_random.image<T>({3, 2, 1, 1, 1})};
};
TEST_TYPES(LayoutOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(LayoutOf, OfRowsIsSlotAndBufferThenPlaceAndView) {
  auto const read = this->m_target.view->createRowCacheRead(1);
  auto const& in = *read->rows[0];
  EXPECT_EQ((Offsets{offsetOf(in, in.index), offsetOf(in, in.voxels)}), (Offsets{8, 16}));
  auto const written = this->m_target.view->createRowCacheReadWrite(1);
  auto const& out = *written->rows[0];
  EXPECT_EQ((Offsets{offsetOf(out, out.index), offsetOf(out, out.voxels), offsetOf(out, out.col),
                     offsetOf(out, out.row), offsetOf(out, out.plan), offsetOf(out, out.sequence),
                     offsetOf(out, out.spectralSeries), offsetOf(out, out.view)}),
            (Offsets{8, 16, 40, 48, 56, 64, 72, 80}));
}

TEST_OF_TYPES(LayoutOf, OfCachesIsSlotsFirst) {
  auto const& view = this->m_target.view;
  Offsets const ofRows{0, 24, 32, 40, 48}, ofPlans{0, 24};
  EXPECT_EQ(this->readRowCache(*view->createRowCacheRead(1)), ofRows);
  EXPECT_EQ(this->readRowCache(*view->createRowCacheReadWrite(1)), ofRows);
  EXPECT_EQ(this->readPlanCache(*view->createPlanCacheRead(1)), ofPlans);
  EXPECT_EQ(this->readPlanCache(*view->createPlanCacheReadWrite(1)), ofPlans);
}

// Before the destructors.
TEST_OF_TYPES(LayoutOf, OfBordersBeginsWithTheReadOfARow) {
  using T = TypeParam;
  using Border = pxl::access::BorderCondition<T>;
  using ReadRow = bool(Border const*, pxl::access::ViewInterface<T> const*, T*, T*, long, long, long, long, long);
  auto const& image = this->m_target.expected;
  auto const check = [&](std::shared_ptr<Border> const& border, auto&& expectedAt) {
    T voxels[7] = {};
    EXPECT_TRUE(getSlot<ReadRow>(*border, 0)(border.get(), this->m_target.view->getInterface(), voxels, voxels + 7,
                                             -2, 1, 0, 0, 0));
    for (long i = 0; i < 7; ++i) EXPECT_EQ(voxels[i], expectedAt(Five{i - 2, 1, 0, 0, 0})) << i;
  };
  check(pxl::access::FixedBorderCondition<T>::New(T(5)),
        [&](Five const& p) { return oracle::fixedAt(image, p, T(5)); });
  check(pxl::access::ContinueBorderCondition<T>::New(), [&](Five const& p) { return oracle::continueAt(image, p); });
  if constexpr (std::is_floating_point_v<T>)
    check(pxl::access::MirrorBorderCondition<T>::New(), [&](Five const& p) { return oracle::mirrorAt(image, p); });
}

// After the destructors: a size by its number, the type, the interpretation. For images and for windows.
TEST(Layout, OfImageModelsIsSizeThenTypeThenInterpretation) {
  auto const image = pxl::Image::New(pxl::cInteger16, {7, 6, 5, 4, 3}, 2);
  pxl::ImageModelSizeProxy const window(static_cast<pxl::ImageModel const*>(image.get()), 1, 6, 1, 5, 1, 4, 1, 3, 1,
                                        2);
  pxl::ImageModel const* const models[] = {image.get(), &window};
  for (unsigned long i = 0; i < 2; ++i) {
    pxl::ImageModel const& model = *models[i];
    for (int component = 0; component < 5; ++component) {
      auto const number = static_cast<pxl::Components>(component);
      EXPECT_EQ((getSlot<unsigned long(pxl::ImageModel const*, pxl::Components const&)>(model, 2)(&model, number)),
                7UL - i - static_cast<unsigned long>(component));
    }
    EXPECT_EQ(getSlot<int(pxl::ImageModel const*)>(model, 3)(&model), pxl::cInteger16);
    EXPECT_EQ(getSlot<int(pxl::ImageModel const*)>(model, 4)(&model), 2);
  }
}

TEST(Layout, OfRegionsIsThatOfBlocks) {
  pxl::access::Region const region(1, 12, 3, 24, 5, 36, 7, 48, 9, 60);
  std::array<long, 15> results;
  for (unsigned long i = 0; i < 15; ++i)
    results[i] = getSlot<long(pxl::access::Region const*)>(region, 2 + i)(&region);
  EXPECT_EQ(results, (std::array<long, 15>{11, 1, 12, 21, 3, 24, 31, 5, 36, 41, 7, 48, 51, 9, 60}));
}

}  // namespace
}  // namespace access_test
