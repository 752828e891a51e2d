// What NaN and infinities do, as the operators' header states it.
#include "oracle/Conversion.h"
#include "support/Runs.h"

namespace morphology_test {
namespace {

constexpr Operation cOperations[] = {Operation::cDilation, Operation::cErosion};

template <class T>
class SpecialReals : public PluginTest {
 protected:
  static oracle::Image<T> makeFlat(Five const& sizes, T value) {
    oracle::Image<T> image(sizes);
    std::fill(image.voxels.begin(), image.voxels.end(), value);
    return image;
  }
  static oracle::Image<unsigned char> toBytes(oracle::Image<T> const& image) {
    oracle::Image<unsigned char> bytes(image.sizes);
    for (unsigned long i = 0; i < image.voxels.size(); ++i)
      bytes.voxels[i] = oracle::convert<unsigned char>(image.voxels[i]);
    return bytes;
  }
  static oracle::Image<T> toReals(oracle::Image<unsigned char> const& bytes) {
    oracle::Image<T> image(bytes.sizes);
    std::copy(bytes.voxels.begin(), bytes.voxels.end(), image.voxels.begin());
    return image;
  }
  // Two passes into an output of bytes.
  static oracle::Image<unsigned char> runToBytes(Way const& way, oracle::Image<T> const& image) {
    auto const input = oracle::toHost(image);
    auto const output = oracle::toHost(oracle::Image<unsigned char>(image.sizes));
    makeAlgorithm(way, input.get(), output.get())->execute();
    return toOracle<unsigned char>(*output, image.sizes);
  }
};
TEST_TYPES(SpecialReals, oracle::RealVoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(SpecialReals, InfinitiesLoseAlongTheEdgeOnly) {
  using T = TypeParam;
  for (Operation operation : cOperations)
    for (int dimension : {2, 3})
      for (int neighborhood : {0, 1, 2}) {
        T const infinity =
            oracle::fold(operation, -std::numeric_limits<T>::infinity(), std::numeric_limits<T>::infinity());
        auto const image = this->makeFlat({5, 4, 3, 1, 1}, -infinity);
        Way way{operation, neighborhood, 1};
        way.dimension = dimension;
        auto const result = run(way, image);
        oracle::forEachPosition(image.sizes, [&](Five const& p) {
          bool isAtEdge = false;
          for (unsigned long d = 0; d < static_cast<unsigned long>(dimension); ++d)
            isAtEdge = isAtEdge || p[d] == 0 || p[d] == image.sizes[d] - 1;
          ASSERT_EQ(result.at(p), isAtEdge ? oracle::getNeutral<T>(operation) : -infinity);
        });
      }
}

TEST_OF_TYPES(SpecialReals, NanLosesToWhatComesAfterItFromBeyondTheEdge) {
  using T = TypeParam;
  for (Operation operation : cOperations)
    for (int dimension : {2, 3})
      for (int neighborhood : {0, 1, 2}) {
        auto const image = this->makeFlat({1, 1, 1, 1, 1}, std::numeric_limits<T>::quiet_NaN());
        Way way{operation, neighborhood, 1};
        way.dimension = dimension;
        EXPECT_EQ(run(way, image).voxels[0], oracle::getNeutral<T>(operation));
      }
}

TEST_OF_TYPES(SpecialReals, NanMakesAnOutputOfIntegersDependOnTheTemporary) {
  using T = TypeParam;
  auto image = this->makeFlat({9, 7, 1, 1, 1}, T(5));
  image.at({4, 3, 0, 0, 0}) = std::numeric_limits<T>::quiet_NaN();
  Way way{Operation::cErosion, 0, 2};
  auto const once = oracle::applyCross(image, way.operation);
  auto const kept = this->toBytes(oracle::applyCross(once, way.operation));
  auto const stored = this->toBytes(oracle::applyCross(this->toReals(this->toBytes(once)), way.operation));
  EXPECT_TRUE(areEqual(this->runToBytes(way, image), kept));
  way.extraMemory = 0;
  EXPECT_TRUE(areEqual(this->runToBytes(way, image), stored));
  EXPECT_FALSE(areEqual(kept, stored));
}

TEST_OF_TYPES(SpecialReals, NoneMakesAnOutputOfIntegersDependOnTheTemporary) {
  using T = TypeParam;
  oracle::Random random(271);
  T const special[] = {std::numeric_limits<T>::infinity(), -std::numeric_limits<T>::infinity(), T(-0.), T(2.5)};
  for (int round = 0; round < 10; ++round) {
    auto image = random.imageWithin<T>({21, 9, 1, 1, 1}, -50, 350);
    for (T& voxel : image.voxels) voxel = random.number(0, 2) == 0 ? special[random.number(0, 3)] : voxel + T(0.5);
    for (Operation operation : cOperations)
      for (unsigned int nbIterations : {2U, 3U}) {
        Way way{operation, 1, nbIterations};
        auto const withTemporary = this->runToBytes(way, image);
        way.extraMemory = 0;
        EXPECT_TRUE(areEqual(this->runToBytes(way, image), withTemporary));
        EXPECT_TRUE(areEqual(withTemporary, this->toBytes(oracle::applyTimes(image, operation, 1, nbIterations))));
      }
  }
}

}  // namespace
}  // namespace morphology_test
