#include "support/Runs.h"

namespace point_test {
namespace {

template <class T>
class LogicalValues : public PluginTest {
 protected:
  static constexpr long L = oracle::cLanes<T>;
  oracle::Random random{501};
};
TEST_TYPES(LogicalValues, oracle::IntegerVoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(LogicalValues, EqualBitsOneByOneForEveryWidth) {
  using T = TypeParam;
  for (long cols = 1; cols <= 3 * this->L + 1; ++cols) {
    Five const sizes{cols, 3, 2, 1, 1};
    auto const a = this->random.template image<T>(sizes);
    auto const b = this->random.template image<T>(sizes);
    unsigned int const value = static_cast<unsigned int>(this->random.number(0, 4294967295L));
    auto const hostA = oracle::toHost(a), hostB = oracle::toHost(b), output = oracle::toHost(oracle::Image<T>(sizes));
    for (int operation = 0; operation < 7; ++operation) {
      runWithImage(operation, hostA.get(), hostB.get(), output.get());
      ASSERT_TRUE(areEqual(*output, oracle::combine(operation, a, b))) << operation << ", " << cols << " columns";
      runWithValue(operation, hostA.get(), value, output.get());
      ASSERT_TRUE(areEqual(*output, oracle::combine(operation, a, value))) << operation << ", " << cols << " columns";
    }
    EXPECT_TRUE(areEqual(*hostA, a));
    EXPECT_TRUE(areEqual(*hostB, b));
  }
}

TEST_OF_TYPES(LogicalValues, DontDependOnCutsThreadsAndAliasing) {
  using T = TypeParam;
  Five const sizes{2 * this->L + 3, 9, 4, 2, 2};
  auto const a = this->random.template image<T>(sizes);
  auto const b = this->random.template image<T>(sizes);
  pxl::instrument::Recorder recorder;
  recorder.isTracing = false;
  for (auto const& grains : {pxl::AbstractPartitionerPolicy::PartitionerGrainSizes{1, 1, 1}, {5, 2, 3}, {99, 99, 99}})
    for (int nbThreads : {1, 2, 16}) {
      recorder.grains = grains;
      withThreads(nbThreads, [&] {
        for (int operation : {0, 5, 6}) {
          auto const expected = oracle::combine(operation, a, b);
          auto const first = oracle::toHost(a), second = oracle::toHost(b), both = oracle::toHost(a);
          runWithImage(operation, first.get(), second.get(), first.get());
          ASSERT_TRUE(areEqual(*first, expected)) << "the output is the first input, " << grains.cols;
          auto const again = oracle::toHost(a);
          runWithImage(operation, again.get(), second.get(), second.get());
          ASSERT_TRUE(areEqual(*second, expected)) << "the output is the second input";
          runWithImage(operation, both.get(), both.get(), both.get());
          ASSERT_TRUE(areEqual(*both, oracle::combine(operation, a, a))) << "all three are one image";
          runWithValue(operation, again.get(), 0x5A3C96F1, again.get());
          ASSERT_TRUE(areEqual(*again, oracle::combine(operation, a, 0x5A3C96F1U))) << "with a value";
        }
      });
      if (this->HasFatalFailure()) return;
    }
}

TEST_OF_TYPES(LogicalValues, StayWithinAWindow) {
  using T = TypeParam;
  // A window in the middle of a larger image, of an odd width: what lies around it doesn't change.
  Five const sizes{4 * this->L, 8, 5, 3, 3};
  auto const a = this->random.template image<T>(sizes);
  auto const target = this->random.template image<T>(sizes);
  auto const input = oracle::toHost(a), output = oracle::toHost(target);
  unsigned long const width = static_cast<unsigned long>(2 * this->L + 1);
  pxl::ImageModelSizeProxy const from(static_cast<pxl::ImageModel const*>(input.get()), 3, width, 2, 4, 1, 2, 1, 2, 2,
                                      1);
  pxl::ImageModelSizeProxy to(static_cast<pxl::ImageModel*>(output.get()), 1, width, 3, 4, 2, 2, 0, 2, 1, 1);
  runWithValue(2, &from, 0xFFFFFFFF, &to);
  auto expected = target;
  oracle::forEachPosition({static_cast<long>(width), 4, 2, 2, 1}, [&](Five const& p) {
    expected.at({p[0] + 1, p[1] + 3, p[2] + 2, p[3], p[4] + 1}) =
        static_cast<T>(~a.at({p[0] + 3, p[1] + 2, p[2] + 1, p[3] + 1, p[4] + 2}));
  });
  EXPECT_TRUE(areEqual(*output, expected));
  runWithImage(6, &from, &from, &to);
  oracle::forEachPosition({static_cast<long>(width), 4, 2, 2, 1}, [&](Five const& p) {
    expected.at({p[0] + 1, p[1] + 3, p[2] + 2, p[3], p[4] + 1}) = 0;
  });
  EXPECT_TRUE(areEqual(*output, expected));
}

TEST_OF_TYPES(LogicalValues, TakeTheLowBitsOfTheValue) {
  using T = TypeParam;
  auto const a = this->random.template image<T>({5, 3, 1, 1, 1});
  auto const input = oracle::toHost(a), output = oracle::toHost(oracle::Image<T>(a.sizes));
  for (unsigned int value : {0x1FFU, 0x12345678U, 0xFFFFFFFFU, 0x80000000U}) {
    runWithValue(0, input.get(), value, output.get());
    for (unsigned long i = 0; i < a.voxels.size(); ++i)
      EXPECT_EQ(static_cast<T const*>(output->getVoxels())[i],
                static_cast<T>(static_cast<unsigned int>(a.voxels[i]) & value));
  }
}

TEST_OF_TYPES(LogicalValues, OfABinaryImageKnowOnlyZeroAndOneAsValue) {
  using T = TypeParam;
  oracle::Image<T> bits({7, 3, 1, 1, 1});
  for (T& voxel : bits.voxels) voxel = static_cast<T>(this->random.number(0, 1));
  auto const output = oracle::toHost(oracle::Image<T>(bits.sizes));
  auto const binary = oracle::toHost(bits, pxl::cBinary), grey = oracle::toHost(bits);
  runWithValue(0, binary.get(), 200, output.get());
  EXPECT_TRUE(areEqual(*output, bits));
  runWithValue(0, grey.get(), 200, output.get());
  EXPECT_TRUE(areEqual(*output, oracle::Image<T>(bits.sizes)));
  runWithValue(6, binary.get(), 1, output.get());
  EXPECT_TRUE(areEqual(*output, oracle::Image<T>(bits.sizes)));
  runWithValue(1, binary.get(), 0, output.get());
  EXPECT_TRUE(areEqual(*output, bits));
  // The voxels themselves aren't touched by it: not (0 and 1) has all bits.
  runWithValue(3, binary.get(), 8, output.get());
  EXPECT_TRUE(areEqual(*output, oracle::combine(3, bits, 1U)));
  // Two images are combined bit by bit whatever they are.
  runWithImage(3, binary.get(), binary.get(), output.get());
  EXPECT_TRUE(areEqual(*output, oracle::combine(3, bits, bits)));
}

}  // namespace
}  // namespace point_test
