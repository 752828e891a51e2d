#include <algorithm>
#include <cstdlib>
#include <limits>

#include "Compared.h"
#include "pxl/RunInBackground.h"

namespace {

using namespace wide_test;

class WideRunners : public ::testing::Test {
 protected:
  WideRunners() {
    loadPlugins();
    algorithm = makeOperator("Dilation2d");
    setImages(pxl::cFloat, pxl::cFloat);
  }
  ~WideRunners() override { ::unsetenv("PXLWORKS_WIDE_TARGET"); }

  void setImages(pxl::VoxelTypes ofInput, pxl::VoxelTypes ofOutput) {
    input = pxl::Image::New(ofInput, {50, 40, 3, 1, 1});
    output = pxl::Image::New(ofOutput, {50, 40, 3, 1, 1});
    setIfAny<pxl::ImageModel const*>(*algorithm, "inputImage", input.get());
    setIfAny<pxl::ImageModel*>(*algorithm, "outputImage", output.get());
  }

  pxl::RunnerInfo getInfo() {
    for (pxl::RunnerInfo const& info : algorithm->getRunners())
      if (info.name.str() == "wide") return info;
    return {};
  }

  void expectRefusal(std::string const& part) {
    pxl::RunnerInfo const info = getInfo();
    EXPECT_FALSE(info.isAccepting);
    EXPECT_NE(info.refusal.str().find(part), std::string::npos) << info.refusal.str();
    // The other runner takes it.
    EXPECT_NO_THROW(algorithm->execute());
    algorithm->setRunner("wide");
    EXPECT_THROW(algorithm->execute(), pxl::RuntimeError);
  }

  std::unique_ptr<pxl::BaseAlgorithm> algorithm;
  std::shared_ptr<pxl::Image> input;
  std::shared_ptr<pxl::Image> output;
};

TEST_F(WideRunners, AreChosenBeforeTheOthers) {
  EXPECT_TRUE(getInfo().isAccepting) << getInfo().refusal.str();
  EXPECT_GT(getInfo().optimType, algorithm->getRunners().front().optimType);
}

TEST_F(WideRunners, LeaveOtherTypesOfOutputs) {
  setImages(pxl::cFloat, pxl::cDouble);
  expectRefusal("one voxel type");
}

TEST_F(WideRunners, LeaveRegions) {
  algorithm->setProcessingRegion(pxl::access::Region(0, 40, 0, 50, 0, 3, 0, 1, 0, 1));
  expectRefusal("whole images");
}

TEST_F(WideRunners, LeaveOtherTypesOfSecondInputs) {
  algorithm = makeOperator("LogicalOperationWithImage");
  setImages(pxl::cUnsignedInteger8, pxl::cUnsignedInteger8);
  auto const second = pxl::Image::New(pxl::cInteger8, {50, 40, 3, 1, 1});
  setIfAny<pxl::ImageModel const*>(*algorithm, "inputImage1", input.get());
  setIfAny<pxl::ImageModel const*>(*algorithm, "inputImage2", second.get());
  expectRefusal("one voxel type");
}

TEST_F(WideRunners, LeaveUnknownOperatorsOfBits) {
  algorithm = makeOperator("LogicalOperationWithValue");
  setImages(pxl::cUnsignedInteger8, pxl::cUnsignedInteger8);
  setIfAny(*algorithm, "value", 1U);
  setIfAny(*algorithm, "logicalOperator", 7);
  EXPECT_FALSE(getInfo().isAccepting);
  EXPECT_NE(getInfo().refusal.str().find("logicalOperator"), std::string::npos) << getInfo().refusal.str();
  EXPECT_THROW(algorithm->execute(), pxl::InvalidCall);
}

TEST_F(WideRunners, LeaveKernelsThatAreNoNumbers) {
  algorithm = makeOperator("FiniteImpulseResponseFilter2D");
  setImages(pxl::cFloat, pxl::cFloat);
  setIfAny(*algorithm, "kernel", pxl::kernel::Kernel2D({{0, 0}, {1, 0}}, {1, 2}));
  EXPECT_TRUE(getInfo().isAccepting) << getInfo().refusal.str();
  setIfAny(*algorithm, "kernel",
           pxl::kernel::Kernel2D({{0, 0}, {1, 0}}, {1, std::numeric_limits<double>::quiet_NaN()}));
  expectRefusal("kernels of numbers");
}

// The rows of numbers that a thread works on are known beforehand.
TEST_F(WideRunners, LeaveKernelsThatNeedTooMuchMemory) {
  input = pxl::Image::New(pxl::cFloat, {6000, 40, 1, 1, 1});
  output = pxl::Image::New(pxl::cFloat, {6000, 40, 1, 1, 1});
  algorithm = makeOperator("FiniteImpulseResponseFilter2D");
  setIfAny<pxl::ImageModel const*>(*algorithm, "inputImage", input.get());
  setIfAny<pxl::ImageModel*>(*algorithm, "outputImage", output.get());
  algorithm->setMaximumExtraMemoryUsageInBytes(1024 * 1024);
  setIfAny(*algorithm, "kernel", pxl::kernel::Kernel2D({{0, 0}, {3000, 1}}, {1, 2}));
  EXPECT_TRUE(getInfo().isAccepting) << getInfo().refusal.str();
  setIfAny(*algorithm, "kernel", pxl::kernel::Kernel2D({{0, 0}, {3000, 30}}, {1, 2}));
  expectRefusal("extra memory");
}

TEST_F(WideRunners, LeaveVoxelsThatAreNotAligned) {
  std::vector<char> bytes(50 * 40 * 3 * 4 + 1);
  auto const image = pxl::Image::OnMemory(static_cast<void*>(bytes.data() + 1), pxl::cFloat, {50, 40, 3, 1, 1},
                                          pxl::getPackedStrides(pxl::cFloat, {50, 40, 3, 1, 1}));
  setIfAny<pxl::ImageModel const*>(*algorithm, "inputImage", image.get());
  expectRefusal("aligned");
}

TEST_F(WideRunners, LeaveWhatNeedsTooMuchMemory) {
  input = pxl::Image::New(pxl::cDouble, {3000, 300, 1, 1, 1});
  output = pxl::Image::New(pxl::cDouble, {3000, 300, 1, 1, 1});
  setIfAny<pxl::ImageModel const*>(*algorithm, "inputImage", input.get());
  setIfAny<pxl::ImageModel*>(*algorithm, "outputImage", output.get());
  setIfAny(*algorithm, "numberOfIterations", 40U);
  algorithm->setMaximumExtraMemoryUsageInBytes(1024 * 1024);
  expectRefusal("extra memory");
}

// Then order doesn't count, and the voxels after a NaN do.
TEST_F(WideRunners, FindExtremaWithoutAnotherRunner) {
  pxl::plugins::unload(shipped::getPlugin());
  auto const image = pxl::Image::New(pxl::cFloat, {50, 4000, 1, 1, 1});
  float* const voxels = static_cast<float*>(image->getVoxels());
  std::fill(voxels, voxels + 50L * 4000, 2.F);
  voxels[0] = voxels[777] = std::numeric_limits<float>::quiet_NaN();
  voxels[1] = -3;
  voxels[50L * 4000 - 1] = 5;
  pxl::analysis::IntensityExtrema extrema;
  pxl::analysis::IntensityExtremaMsr measure;
  extrema.inputImage = image.get();
  extrema.outputMeasure = &measure;
  extrema.execute();
  EXPECT_EQ(measure.minimum.getValue(0, 0, 0), -3);
  EXPECT_EQ(measure.maximum.getValue(0, 0, 0), 5);
}

TEST_F(WideRunners, RefuseTargetsThatAreUnknown) {
  ::setenv("PXLWORKS_WIDE_TARGET", "abacus", 1);
  expectRefusal("PXLWORKS_WIDE_TARGET");
}

// What another runner says is not lost because this one looks at voxels.
TEST_F(WideRunners, LeaveTheReasonsOfOthers) {
  setImages(pxl::cUnsignedInteger8, pxl::cUnsignedInteger8);
  input->setInterpretation(pxl::cBinary);
  setIfAny(*algorithm, "numberOfIterations", 100U);
  EXPECT_TRUE(getInfo().isAccepting) << getInfo().refusal.str();
  algorithm->setProcessingRegion(pxl::access::Region(0, 40, 0, 50, 0, 3, 0, 1, 0, 1));
  try {
    algorithm->execute();
    FAIL() << "both runners refuse";
  } catch (pxl::RuntimeError const& error) {
    EXPECT_NE(std::string(error.what()).find("can be at most 34"), std::string::npos) << error.what();
  }
}

// Each takes many times longer than it needs to stop.
TEST_F(WideRunners, StopWhenTheyAreCancelled) {
  auto const large = pxl::Image::New(pxl::cFloat, {3000, 3000, 1, 1, 1});
  auto const result = pxl::Image::New(pxl::cFloat, {3000, 3000, 1, 1, 1});
  std::vector<double> const coefficients(201 * 201, 1);
  for (char const* name : {"DilationDisk2d", "FiniteImpulseResponseFilter2D"}) {
    auto const operation = makeOperator(name);
    setIfAny(*operation, "radius", 100U);
    setIfAny(*operation, "shapeMode", 1);
    setIfAny(*operation, "kernel", pxl::kernel::Kernel2D(coefficients.data(), 201, 201));
    setIfAny<pxl::ImageModel const*>(*operation, "inputImage", large.get());
    setIfAny<pxl::ImageModel*>(*operation, "outputImage", result.get());
    operation->setRunner("wide");
    pxl::RunInBackground run(*operation);
    run.start();
    while (run.getProgress() == 0 && !run.waitFor(1)) continue;
    run.cancel();
    EXPECT_TRUE(run.waitFor(5000)) << name;
    EXPECT_THROW(run.get(), pxl::ExceptionCancelation) << name;
    EXPECT_LT(operation->getProgress(), 1) << name;
  }
}

}  // namespace
