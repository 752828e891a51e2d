#include <tbb/task_arena.h>

#include <cstdlib>

#include "Compared.h"

namespace {

using namespace wide_test;

/** Rows of all lengths from one voxel to three of the widest vectors and one voxel more. */
class WideVoxelwise : public ::testing::TestWithParam<char const*> {
 protected:
  WideVoxelwise() {
    loadPlugins();
    ::setenv("PXLWORKS_WIDE_TARGET", GetParam(), 1);
  }
  ~WideVoxelwise() override {
    ::unsetenv("PXLWORKS_WIDE_TARGET");
    ::unsetenv("PXLWORKS_WIDE_CACHE");
  }

  template <class Check>
  void forEachLength(pxl::VoxelTypes type, Check const& check) {
    long const longest = 3 * 64 / static_cast<long>(pxl::helper::getSizeOf(type)) + 1;
    for (long length = 1; length <= longest; ++length) check(static_cast<unsigned long>(length));
  }

  void compare(pxl::BaseAlgorithm& algorithm, RandomImages const& images) {
    try {
      ASSERT_TRUE(isSame(algorithm, images)) << GetParam();
    } catch (pxl::RuntimeError const& error) {
      // A target that this processor doesn't have.
      ASSERT_NE(std::string(error.what()).find("PXLWORKS_WIDE_TARGET"), std::string::npos) << error.what();
    }
  }

  void compareLogic(char const* name) {
    for (pxl::VoxelTypes const type : cTypes)
      if (type != pxl::cFloat && type != pxl::cDouble)
        forEachLength(type, [&](unsigned long length) {
          RandomImages images(m_random, name, type, {length, 5, 3, 1, 2}, Specials::cNone);
          images.inPlace = m_random.number(-1, static_cast<long>(images.inputs.size()) - 1);
          auto const algorithm = makeOperator(name);
          setRandomProperties(m_random, *algorithm, 1);
          for (int operation = 0; operation < 7; ++operation) {
            setIfAny(*algorithm, "logicalOperator", operation);
            ::setenv("PXLWORKS_WIDE_CACHE", operation % 2 ? "0" : "100000000", 1);
            compare(*algorithm, images);
          }
        });
  }

  Random m_random{7};
};

TEST_P(WideVoxelwise, CombinesTwoImages) { compareLogic("LogicalOperationWithImage"); }
TEST_P(WideVoxelwise, CombinesAnImageAndAValue) { compareLogic("LogicalOperationWithValue"); }

TEST_P(WideVoxelwise, CutLongRows) {
  for (char const* name : {"LogicalOperationWithImage", "LogicalOperationWithValue"}) {
    RandomImages const images(m_random, name, pxl::cUnsignedInteger16, {70001, 2, 2, 1, 1}, Specials::cNone);
    auto const algorithm = makeOperator(name);
    setRandomProperties(m_random, *algorithm, 1);
    compare(*algorithm, images);
  }
}

INSTANTIATE_TEST_SUITE_P(Targets, WideVoxelwise, ::testing::ValuesIn(cTargets),
                         [](auto const& target) { return std::string(target.param); });

}  // namespace
