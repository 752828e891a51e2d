// The runners `wide` without any others against plain loops, bit by bit.
#include <gtest/gtest.h>

#include <cstring>

#include "RandomCase.h"
#include "filtering/support/FirOracle.h"
#include "instrument/ShippedPaths.h"
#include "morphology/support/MorphologyOracle.h"
#include "oracle/HostImages.h"
#include "oracle/Shapes.h"
#include "oracle/VoxelTypeTests.h"
#include "point_operations/support/LogicalOracle.h"
#include "pxl/Plugins.h"
#include "pxl/analysis/IntensityExtrema.h"

namespace {

using namespace wide_test;
using oracle::Five;
using oracle::Operation;

constexpr Operation cOperations[] = {Operation::cDilation, Operation::cErosion};

std::string makeName(Operation operation, char const* rest) {
  return (operation == Operation::cDilation ? "Dilation" : "Erosion") + std::string(rest);
}

template <class T>
class WideValues : public ::testing::Test {
 protected:
  using Image = oracle::Image<T>;

  WideValues() { pxl::plugins::load(shipped::getWide()); }

  /** With NaN, infinities and zeros of both signs where T is real. */
  Image makeImage(Five const& sizes) {
    Image image = m_random.template image<T>(sizes);
    if constexpr (std::is_floating_point_v<T>)
      for (T& voxel : image.voxels) voxel = makeReal<T>(m_random, Specials::cFew);
    return image;
  }

  void expectRun(pxl::BaseAlgorithm& algorithm, Image const& input, Image const& expected) {
    auto const in = oracle::toHost(input), out = oracle::toHost(Image(input.sizes));
    setIfAny<pxl::ImageModel const*>(algorithm, "inputImage", in.get());
    setIfAny<pxl::ImageModel const*>(algorithm, "inputImage1", in.get());
    setIfAny<pxl::ImageModel*>(algorithm, "outputImage", out.get());
    algorithm.setRunner("wide");
    algorithm.execute();
    EXPECT_EQ(std::memcmp(out->getVoxels(), expected.voxels.data(), expected.voxels.size() * sizeof(T)), 0)
        << algorithm.getAlgoInfo()->getName() << ", " << input.sizes[0] << " columns";
  }

  Random m_random{93};
};
TEST_TYPES(WideValues, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(WideValues, IterateInPlanes) {
  for (Operation const operation : cOperations)
    for (int neighborhood : {0, 1})
      for (unsigned int nbIterations : {1U, 2U, 7U, 9U})  // 9: many windows of 19 rows at once
        for (Five const& sizes :
             {Five{1, 1, 1, 1, 1}, Five{3, 20, 2, 1, 1}, Five{67, 13, 1, 1, 2}, Five{70, 45, 1, 1, 1}}) {
          auto const algorithm = makeOperator(makeName(operation, "2d"));
          setIfAny(*algorithm, "neighborhood", neighborhood);
          setIfAny(*algorithm, "numberOfIterations", nbIterations);
          auto const image = this->makeImage(sizes);
          this->expectRun(*algorithm, image, oracle::applyTimes(image, operation, neighborhood, nbIterations));
        }
}

TEST_OF_TYPES(WideValues, IterateInVolumes) {
  for (Operation const operation : cOperations)
    for (int neighborhood : {0, 1, 2})
      for (unsigned int nbIterations : {1U, 3U})
        for (Five const& sizes : {Five{2, 3, 5, 1, 1}, Five{35, 6, 5, 2, 1}}) {
          auto const algorithm = makeOperator(makeName(operation, "3d"));
          setIfAny(*algorithm, "neighborhood", neighborhood);
          setIfAny(*algorithm, "numberOfIterations", nbIterations);
          auto const image = this->makeImage(sizes);
          this->expectRun(*algorithm, image, oracle::applyVolumeTimes(image, operation, neighborhood, nbIterations));
        }
}

TEST_OF_TYPES(WideValues, HaveShapes) {
  for (Operation const operation : cOperations)
    for (Five const& sizes : {Five{4, 5, 3, 1, 1}, Five{67, 8, 4, 1, 1}}) {
      auto const image = this->makeImage(sizes);
      for (unsigned int radius : {1U, 3U}) {
        auto const disk = makeOperator(makeName(operation, "Disk2d"));
        auto const ball = makeOperator(makeName(operation, "Ball3d"));
        for (auto* const shape : {disk.get(), ball.get()}) {
          setIfAny(*shape, "shapeMode", 1);
          setIfAny(*shape, "radius", radius);
        }
        this->expectRun(*disk, image, oracle::applyVolumeList(image, operation, oracle::makeDisk(radius)));
        this->expectRun(*ball, image, oracle::applyVolumeList(image, operation, oracle::makeBall(radius)));
      }
      for (double const angle : {0., 37., 90., 135.}) {
        auto const line = makeOperator(makeName(operation, "Line2d"));
        setIfAny(*line, "lineSize", 9U);
        setIfAny(*line, "lineAngle", angle);
        this->expectRun(*line, image, oracle::applyVolumeList(image, operation, oracle::makeLine(0, angle, 9)));
      }
    }
}

TEST_OF_TYPES(WideValues, AreWeightedSums) {
  for (int dimension : {2, 3})
    for (Five const& sizes : {Five{2, 3, 2, 1, 1}, Five{67, 9, 3, 1, 1}}) {
      oracle::Taps taps;
      std::vector<double> coefficients;
      std::vector<pxl::kernel::Offset2D> inPlane;
      std::vector<pxl::kernel::Offset3D> inVolume;
      for (long plan = dimension == 3 ? -1 : 0; plan <= (dimension == 3 ? 1 : 0); ++plan)
        for (long row = -1; row <= 1; ++row)
          for (long col = -2; col <= 2; ++col) {
            coefficients.push_back(static_cast<double>(this->m_random.number(-900, 900)) / 7000);
            taps.push_back({col, row, plan, coefficients.back()});
            inPlane.push_back({col, row});
            inVolume.push_back({col, row, plan});
          }
      auto const algorithm = makeOperator("FiniteImpulseResponseFilter" + std::to_string(dimension) + "D");
      if (dimension == 2)
        setIfAny(*algorithm, "kernel", pxl::kernel::Kernel2D(inPlane, coefficients));
      else
        setIfAny(*algorithm, "kernel", pxl::kernel::Kernel3D(inVolume, coefficients));
      auto const image = this->m_random.template image<TypeParam>(sizes);
      this->expectRun(*algorithm, image,
                      oracle::correlate<TypeParam>(image, taps, dimension, oracle::Image<TypeParam>(image.sizes)));
    }
}

template <class T>
class WideBits : public WideValues<T> {};
TEST_TYPES(WideBits, oracle::IntegerVoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(WideBits, AreCombined) {
  for (int operation = 0; operation < 7; ++operation)
    for (Five const& sizes : {Five{1, 1, 1, 1, 1}, Five{201, 7, 2, 1, 1}}) {
      auto const image = this->makeImage(sizes), other = this->makeImage(sizes);
      auto const ofTwo = makeOperator("LogicalOperationWithImage"), ofOne = makeOperator("LogicalOperationWithValue");
      auto const second = oracle::toHost(other);
      setIfAny<pxl::ImageModel const*>(*ofTwo, "inputImage2", second.get());
      setIfAny(*ofOne, "value", 0x92a1c35eU);
      for (auto* const algorithm : {ofTwo.get(), ofOne.get()}) setIfAny(*algorithm, "logicalOperator", operation);
      this->expectRun(*ofTwo, image, oracle::combine(operation, image, other));
      this->expectRun(*ofOne, image, oracle::combine(operation, image, 0x92a1c35eU));
    }
}

TEST_OF_TYPES(WideValues, AreExtrema) {
  for (int dimensions : {0, 1, 7}) {
    auto const image = this->m_random.template image<TypeParam>({79, 11, 3, 2, 2});
    auto const expected = oracle::measureExtrema(image, dimensions);
    auto const input = oracle::toHost(image);
    pxl::analysis::IntensityExtrema algorithm;
    pxl::analysis::IntensityExtremaMsr measure;
    algorithm.inputImage = input.get();
    algorithm.outputMeasure = &measure;
    algorithm.analysisDimensions = dimensions;
    algorithm.setRunner("wide");
    algorithm.execute();
    for (long i = 0; i < static_cast<long>(expected.minimum.size()); ++i) {
      auto const at = [&](pxl::analysis::MeasureArray const& array) {
        return array.getValue(static_cast<unsigned long>(i % expected.cells[0]),
                              static_cast<unsigned long>(i / expected.cells[0] % expected.cells[1]),
                              static_cast<unsigned long>(i / expected.cells[0] / expected.cells[1]));
      };
      EXPECT_EQ(at(measure.minimum), expected.minimum[static_cast<unsigned long>(i)]);
      EXPECT_EQ(at(measure.maximum), expected.maximum[static_cast<unsigned long>(i)]);
    }
  }
}

}  // namespace
