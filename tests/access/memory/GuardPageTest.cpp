// Row buffers that end at an inaccessible page: one byte too far ends the program.
#include "Core/private/Access/IteratorPixelInput.h"
#include "Core/private/Access/simd/SimdVec.h"
#include "access/memory/MallocHook.h"
#include "access/support/Source.h"
#include "analysis/IntensityExtremaSIMDGeneric.h"
#include "oracle/VoxelTypeTests.h"

namespace access_test {
namespace {

using pxl::access::Block3d;
using pxl::access::OverlapBorder;
template <class T>
using Simd = pxl::SimdVec::Simd<T, pxl::SimdVec::arch_128_tag>;

template <class T>
class GuardPageOf : public testing::Test {
 protected:
  static constexpr long L = oracle::cLanes<T>;
  using View = pxl::access::View<T>;
  using Iterator = pxl::access::IteratorPixelInput<View, L>;

  void SetUp() override {
    if (!isMallocHooked()) GTEST_SKIP() << "the sanitizer has the allocator";
    m_source.view->getBorderCondition();
  }
  Block3d makeBlock(long nbCols) const { return Block3d(0, 2, 1, 0, 3, 1, 0, nbCols, 1, 0, 0); }

  oracle::Random m_random{901};
  Source<T> m_source{m_random.image<T>({3 * L + 1, 3, 2, 1, 1})};
};
TEST_TYPES(GuardPageOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(GuardPageOf, IsHitByOneByteTooMany) {
  using Buffer = std::vector<TypeParam, pxl::SimdVec::AlignedAllocator<TypeParam, 16>>;
  auto const readBeyond = [] {
    MallocWatch watch;
    watch.placement = Placement::cGuarded16;
    watch.placedSize = static_cast<std::size_t>(TestFixture::L) * sizeof(TypeParam) + 32;
    Buffer voxels(static_cast<std::size_t>(TestFixture::L));
    volatile TypeParam const beyond = *(static_cast<TypeParam volatile const*>(voxels.data()) + TestFixture::L);
    static_cast<void>(beyond);
  };
  EXPECT_DEATH(readBeyond(), "");
}

// Whole vectors, also at the end of a row: at most 15 bytes beyond a buffer of C voxels.
TEST_OF_TYPES(GuardPageOf, IsNotTouchedByWholeVectors) {
  using T = TypeParam;
  for (Placement placement : {Placement::cGuarded16, Placement::cGuarded8})
    for (long nbCols = 1; nbCols <= 3 * this->L + 1; ++nbCols) {
      typename TestFixture::Iterator iterator(this->m_source.view, OverlapBorder());
      long nbSteps = 0;
      MallocWatch watch;
      watch.placement = placement;
      watch.placedSize = static_cast<std::size_t>(nbCols) * sizeof(T) + 32;
      for (iterator.init(this->makeBlock(nbCols), false); !iterator.atEnd(); iterator.advance(), ++nbSteps)
        Simd<T>::store(iterator.current,
                       Simd<T>::max(Simd<T>::load(iterator.current), Simd<T>::load(iterator.current)));
      watch.stop();
      EXPECT_EQ(watch.nbDirect, 1);
      EXPECT_EQ(watch.directSizes[0], watch.placedSize);
      long nbExpected = 0;
      for (long c = 0; c < nbCols; c += this->L) nbExpected += 3 * 2;
      EXPECT_EQ(nbSteps, nbExpected);
    }
}

// The extrema read rows rounded up to whole vectors: nothing at all beyond the buffer.
TEST_OF_TYPES(GuardPageOf, IsNotTouchedByTheExtrema) {
  using T = TypeParam;
  for (Placement placement : {Placement::cGuarded16, Placement::cGuarded8})
    for (long nbCols = 1; nbCols <= 3 * this->L + 1; ++nbCols) {
      KernelInput<T> filter{this->m_source.view};
      pxl::analysis::IntensityExtremaSIMDGeneric<T> extrema;
      Block3d const block = this->makeBlock(nbCols);
      long nbVectors = 0;
      for (long c = 0; c < nbCols; c += this->L) ++nbVectors;
      MallocWatch watch;
      watch.placement = placement;
      watch.placedSize = static_cast<std::size_t>(nbVectors) * 16 + 32;
      extrema.run(block, filter);
      watch.stop();
      EXPECT_EQ(watch.nbDirect, 1);
      EXPECT_EQ(watch.directSizes[0], watch.placedSize);
      // The surplus lanes hold voxels beside the block, of the same image.
      long const nbRead = std::min(nbVectors * this->L, this->m_source.expected.sizes[0]);
      T low = this->m_source.expected.at({0, 0, 0, 0, 0}), high = low;
      oracle::forEachPosition({nbRead, 3, 2, 1, 1}, [&](oracle::Five const& at) {
        T const value = this->m_source.expected.at(at);
        low = value < low ? value : low;
        high = value > high ? value : high;
      });
      EXPECT_EQ(extrema.minimum, low);
      EXPECT_EQ(extrema.maximum, high);
    }
}

}  // namespace
}  // namespace access_test
