#include <tbb/task_arena.h>

#include <cstdlib>

#include "TargetTest.h"

namespace {

using namespace wide_test;

class WideVoxelwise : public TargetTest {
 protected:
  // With NaN or zeros of both signs the other runner's extrema depend on how its work is split.
  void compareOnOneThread(pxl::BaseAlgorithm& algorithm, RandomImages const& images) {
    tbb::task_arena(1).execute([&] { compare(algorithm, images); });
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

TEST_P(WideVoxelwise, FindExtrema) {
  for (pxl::VoxelTypes const type : cTypes)
    for (Specials const specials : {Specials::cNone, Specials::cFew, Specials::cMany})
      forEachLength(type, [&](unsigned long length) {
        RandomImages const images(m_random, "IntensityExtrema", type, {length, 5, 3, 2, 2}, specials);
        auto const algorithm = makeOperator("IntensityExtrema");
        setRandomProperties(m_random, *algorithm, 1);
        compareOnOneThread(*algorithm, images);
      });
}

// A range that is full ends the search, in its cell alone.
TEST_P(WideVoxelwise, FindFullRanges) {
  for (pxl::VoxelTypes const type : {pxl::cUnsignedInteger8, pxl::cInteger8, pxl::cUnsignedInteger16}) {
    RandomImages images(m_random, "IntensityExtrema", type, {300, 300, 4, 1, 1}, Specials::cNone);
    // The second half has other extrema.
    for (std::size_t i = images.inputs[0].bytes.size() / 2; i < images.inputs[0].bytes.size(); ++i)
      images.inputs[0].bytes[i] = static_cast<char>(images.inputs[0].bytes[i] & 63);
    auto const algorithm = makeOperator("IntensityExtrema");
    for (int dimensions : {0, 1}) {
      setIfAny(*algorithm, "analysisDimensions", dimensions);
      compare(*algorithm, images);
    }
  }
}

// Zeros of one sign have it in the result, whatever else there is.
TEST_P(WideVoxelwise, FindZeros) {
  for (pxl::VoxelTypes const type : {pxl::cFloat, pxl::cDouble})
    for (double const zero : {0., -0.})
      for (double const other : {1., -1., 0., -0.})
        for (unsigned long length : {1UL, 3UL, 40UL, 300UL}) {
          RandomImages images(m_random, "IntensityExtrema", type, {length, 7, 2, 1, 1}, Specials::cNone);
          std::size_t const size = pxl::helper::getSizeOf(type);
          for (std::size_t at = 0; at + 8 <= images.inputs[0].bytes.size(); at += size) {
            double const value = m_random.oneIn(3) ? zero : other;
            float const narrow = static_cast<float>(value);
            std::memcpy(&images.inputs[0].bytes[at], size == 4 ? static_cast<void const*>(&narrow) : &value, size);
          }
          auto const algorithm = makeOperator("IntensityExtrema");
          setRandomProperties(m_random, *algorithm, 1);
          compareOnOneThread(*algorithm, images);
        }
}

// One voxel among all others, wherever it is.
TEST_P(WideVoxelwise, FindSingleVoxels) {
  float const zero = 0, others[] = {-0.F, std::numeric_limits<float>::quiet_NaN(), 1, -1};
  for (float const other : others)
    for (unsigned long at = 0; at < 300; at += 7) {
      RandomImages images(m_random, "IntensityExtrema", pxl::cFloat, {300, 1, 1, 1, 1}, Specials::cNone);
      char* const voxels = images.inputs[0].bytes.data();
      for (std::size_t i = 0; i < 300; ++i) std::memcpy(voxels + 4 * i, i == at ? &other : &zero, 4);
      auto const algorithm = makeOperator("IntensityExtrema");
      setIfAny(*algorithm, "analysisDimensions", 0);
      compareOnOneThread(*algorithm, images);
    }
}

INSTANTIATE_TEST_SUITE_P(Targets, WideVoxelwise, ::testing::ValuesIn(cTargets),
                         [](auto const& target) { return std::string(target.param); });

}  // namespace
