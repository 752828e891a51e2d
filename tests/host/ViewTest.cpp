#include <gtest/gtest.h>

#include <type_traits>

#include "Core/private/Access/RowCache.h"
#include "support/Images.h"

namespace {

using namespace host_test;
using namespace pxl::access;
using pxl::Image;
using pxl::ImageModel;

template <class T>
using Border = std::shared_ptr<BorderCondition<T>>;

// The form of the contract.
template <class T, class V = View<T, pxl::SimdVec::AlignedAllocator<T, 16>>>
constexpr bool hasViewForm() {
  static_assert(std::is_same_v<View<T>, V>);
  static_assert(std::is_same_v<decltype(V::New(std::declval<ImageModel const*>(), std::declval<Border<T>>())),
                               std::shared_ptr<V const>>);
  static_assert(
      std::is_same_v<decltype(V::New(std::declval<ImageModel*>(), std::declval<Border<T>>())), std::shared_ptr<V>>);
  static_assert(std::is_same_v<decltype(std::declval<V const&>().getBorderCondition()),
                               std::shared_ptr<BorderCondition<T> const>>);
  static_assert(
      std::is_same_v<decltype(std::declval<V&>().getBorderCondition()), std::shared_ptr<BorderCondition<T>>>);
  static_assert(std::is_same_v<decltype(std::declval<V const&>().getLargestPossibleRegion()), Region>);
  static_assert(std::is_same_v<decltype(std::declval<V const&>().createRowCacheRead(1UL)),
                               std::shared_ptr<RowCacheRead<V, typename V::Allocator>>>);
  static_assert(std::is_same_v<decltype(std::declval<V const&>().createPlanCacheRead(1UL)),
                               std::shared_ptr<PlanCacheRead<V, typename V::Allocator>>>);
  static_assert(!std::is_copy_constructible_v<V> && !std::is_copy_assignable_v<V>);
  return true;
}

template <class T, class = void>
constexpr bool hasMirror = false;
template <class T>
constexpr bool hasMirror<T, std::void_t<decltype(sizeof(MirrorBorderCondition<T>))>> = true;
static_assert(hasMirror<float> && hasMirror<double>);
static_assert(!hasMirror<unsigned char> && !hasMirror<unsigned short> && !hasMirror<unsigned int>);
static_assert(!hasMirror<signed char> && !hasMirror<short> && !hasMirror<int>);

template <class T>
class ViewOf : public ::testing::Test {};
TEST_TYPES(ViewOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(ViewOf, HasTheFormOfTheContract) {
  static_assert(hasViewForm<TypeParam>());
  static_assert(std::is_same_v<decltype(FixedBorderCondition<TypeParam>::New(TypeParam())), Border<TypeParam>>);
  static_assert(std::is_same_v<decltype(ContinueBorderCondition<TypeParam>::New()), Border<TypeParam>>);
}

TEST_OF_TYPES(ViewOf, CoversTheWholeImage) {
  auto const image = Image::New(cTypeOf<TypeParam>, {2, 3, 4, 5, 6});
  auto const view = makeConstView<TypeParam>(image.get());
  Region const region = view->getLargestPossibleRegion();
  EXPECT_EQ(region.colsBegin(), 0);
  EXPECT_EQ(region.colsEnd(), 2);
  EXPECT_EQ(region.rowsBegin(), 0);
  EXPECT_EQ(region.rowsEnd(), 3);
  EXPECT_EQ(region.plansBegin(), 0);
  EXPECT_EQ(region.plansEnd(), 4);
  EXPECT_EQ(region.sequenceBegin(), 0);
  EXPECT_EQ(region.sequenceEnd(), 5);
  EXPECT_EQ(region.spectralSeriesBegin(), 0);
  EXPECT_EQ(region.spectralSeriesEnd(), 6);
  EXPECT_EQ(view->nbCols, 2u);
  EXPECT_EQ(view->nbRows, 3u);
  EXPECT_EQ(view->nbPlans, 4u);
  EXPECT_EQ(view->nbSequence, 5u);
  EXPECT_EQ(view->nbSpectralSeries, 6u);
  EXPECT_EQ(view->getVoxelType(), cTypeOf<TypeParam>);
}

TEST_OF_TYPES(ViewOf, GivesTheBorderConditionItWasMadeWith) {
  auto const image = Image::New(cTypeOf<TypeParam>, {2, 2, 1, 1, 1});
  auto border = FixedBorderCondition<TypeParam>::New(TypeParam(3));
  auto const* const address = border.get();
  std::weak_ptr<BorderCondition<TypeParam>> const watch = border;
  auto view = View<TypeParam>::New(static_cast<ImageModel*>(image.get()), std::move(border));
  EXPECT_EQ(view->getBorderCondition().get(), address);
  EXPECT_EQ(static_cast<View<TypeParam> const&>(*view).getBorderCondition().get(), address);
  auto held = view->getBorderCondition();
  view.reset();
  // Who fetched it may keep it beyond the view.
  TypeParam voxel{};
  EXPECT_TRUE(
      held->readRowAt(makeConstView<TypeParam>(image.get())->getInterface(), &voxel, &voxel + 1, -1, 0, 0, 0, 0));
  EXPECT_EQ(voxel, TypeParam(3));
  EXPECT_FALSE(watch.expired());
  held.reset();
  EXPECT_TRUE(watch.expired());
}

TEST_OF_TYPES(ViewOf, CountsEachUseOfTheBorderCondition) {
  auto const image = Image::New(cTypeOf<TypeParam>, {2, 2, 1, 1, 1});
  auto const view = makeConstView<TypeParam>(image.get());
  auto const first = view->getBorderCondition();
  long const count = first.use_count();
  EXPECT_GT(count, 1);
  {
    auto const second = view->getBorderCondition();
    EXPECT_EQ(second.use_count(), count + 1);
    EXPECT_EQ(first.use_count(), count + 1);
  }
  EXPECT_EQ(first.use_count(), count);
}

TEST_OF_TYPES(ViewOf, MakesCachesWithEmptySlots) {
  auto const image = Image::New(cTypeOf<TypeParam>, {2, 2, 1, 1, 1});
  auto const view = makeConstView<TypeParam>(image.get());
  auto const rows = view->createRowCacheRead(3);
  ASSERT_EQ(rows->rows.size(), 3u);
  for (unsigned long i = 0; i < 3; ++i) {
    EXPECT_EQ(rows->rows[i]->index, i);
    EXPECT_TRUE(rows->rows[i]->voxels.empty());
  }
  auto const plans = view->createPlanCacheRead(2);
  ASSERT_EQ(plans->plans.size(), 2u);
  EXPECT_EQ(plans->plans[1]->index, 1u);
}

TEST(RegionOf, TenNumbersKeepsTheirOrder) {
  Region const region(1, 11, 2, 13, 3, 15, 4, 17, 5, 19);
  EXPECT_EQ(region.rowsBegin(), 1);
  EXPECT_EQ(region.rowsEnd(), 11);
  EXPECT_EQ(region.colsBegin(), 2);
  EXPECT_EQ(region.colsEnd(), 13);
  EXPECT_EQ(region.plansBegin(), 3);
  EXPECT_EQ(region.plansEnd(), 15);
  EXPECT_EQ(region.sequenceBegin(), 4);
  EXPECT_EQ(region.sequenceEnd(), 17);
  EXPECT_EQ(region.spectralSeriesBegin(), 5);
  EXPECT_EQ(region.spectralSeriesEnd(), 19);
  EXPECT_EQ(region.getNbRows(), 10);
  EXPECT_EQ(region.getNbCols(), 11);
  EXPECT_EQ(region.getNbPlans(), 12);
  EXPECT_EQ(region.getNbSequencePlans(), 13);
  EXPECT_EQ(region.getNbSpectralSeries(), 14);
  EXPECT_EQ(region.getNumOfVoxels(), 10UL * 11 * 12 * 13 * 14);
  EXPECT_EQ(Region().getNumOfVoxels(), 0u);
  Region copy;
  copy = region;
  EXPECT_EQ(copy.getNumOfVoxels(), region.getNumOfVoxels());
}

}  // namespace
