#include <gtest/gtest.h>

#include <fstream>

#include "pxl/Settings.h"
#include "pxl/point_operations/LogicalOperation.h"
#include "support/Algorithms.h"
#include "support/Folder.h"
#include "support/Images.h"

namespace {

using namespace host_test;
using pxl::Image;
using pxl::ImageModelSizeProxy;

class OnDisk : public ::testing::Test {
 protected:
  Folder folder;
  std::shared_ptr<Image> memory = Image::New(pxl::cUnsignedInteger8, {4, 4, 1, 1, 1});
  std::shared_ptr<Image> disk =
      Image::OnDisk(folder / "a", pxl::FileModes::cCreate, pxl::cUnsignedInteger8, {4, 4, 1, 1, 1});
};

TEST_F(OnDisk, IsAnyInputOrOutputOnDisk) {
  VolumeOperator algorithm;
  EXPECT_FALSE(algorithm.hasPropertyImageOnDisk());
  algorithm.inputImage = memory.get();
  algorithm.outputImage = memory.get();
  EXPECT_FALSE(algorithm.hasPropertyImageOnDisk());
  algorithm.inputImage = disk.get();
  EXPECT_TRUE(algorithm.hasPropertyImageOnDisk());
  algorithm.outputImage = disk.get();
  algorithm.inputImage = memory.get();
  EXPECT_TRUE(algorithm.hasPropertyImageOnDisk());
  pxl::point_operations::LogicalOperationWithImage logic;
  logic.inputImage1 = memory.get();
  logic.inputImage2 = disk.get();
  EXPECT_TRUE(logic.hasPropertyImageOnDisk());
}

TEST_F(OnDisk, ShowsThroughProxies) {
  ImageModelSizeProxy const outer(static_cast<pxl::ImageModel const*>(disk.get()), 0, 4, 0, 4, 0, 1, 0, 1, 0, 1);
  ImageModelSizeProxy const inner(&outer, 1, 2, 1, 2, 0, 1, 0, 1, 0, 1);
  ImageModelSizeProxy const inMemory(static_cast<pxl::ImageModel const*>(memory.get()), 0, 2, 0, 2, 0, 1, 0, 1, 0, 1);
  VolumeOperator algorithm;
  algorithm.inputImage = &inMemory;
  EXPECT_FALSE(algorithm.hasPropertyImageOnDisk());
  algorithm.inputImage = &outer;
  EXPECT_TRUE(algorithm.hasPropertyImageOnDisk());
  algorithm.inputImage = &inner;
  EXPECT_TRUE(algorithm.hasPropertyImageOnDisk());
}

TEST_F(OnDisk, IsNotAMappedFile) {
  auto const mapped = Image::OnMappedFile(folder / "a", pxl::cUnsignedInteger8, {4, 4, 1, 1, 1});
  VolumeOperator algorithm;
  algorithm.inputImage = mapped.get();
  EXPECT_FALSE(algorithm.hasPropertyImageOnDisk());
}

unsigned long readAvailableBytes() {
  std::ifstream file("/proc/meminfo");
  std::string line;
  while (std::getline(file, line))
    if (line.rfind("MemAvailable:", 0) == 0) return std::stoul(line.substr(13)) * 1024;
  return 0;
}

class ExtraMemory : public ::testing::Test {
 protected:
  ~ExtraMemory() override { pxl::globalSettings().clearValue(cSetting); }
  static constexpr char const* cSetting = "PXL_MAX_EXTRA_MEMORY";
  VolumeOperator algorithm;
};

TEST_F(ExtraMemory, IsByDefaultPositiveAndAtMostHalfOfWhatIsAvailable) {
  unsigned long const before = readAvailableBytes();
  unsigned long const bytes = algorithm.getMaximumExtraMemoryUsageInBytes();
  unsigned long const after = readAvailableBytes();
  EXPECT_GT(bytes, 0u);
  // Other programs may have come and gone in between.
  EXPECT_LE(bytes, std::max(before, after) / 2 + (256UL << 20));
}

TEST_F(ExtraMemory, IsWhatTheSettingSays) {
  pxl::globalSettings().setValue(cSetting, "12345");
  EXPECT_EQ(algorithm.getMaximumExtraMemoryUsageInBytes(), 12345u);
  pxl::globalSettings().setValue(cSetting, "0");
  EXPECT_EQ(algorithm.getMaximumExtraMemoryUsageInBytes(), 0u);
  pxl::globalSettings().setValue(cSetting, "18446744073709551615");
  EXPECT_EQ(algorithm.getMaximumExtraMemoryUsageInBytes(), ~0UL);
  pxl::globalSettings().setValue(cSetting, "18446744073709551614");
  EXPECT_EQ(algorithm.getMaximumExtraMemoryUsageInBytes(), ~0UL - 1);
  pxl::globalSettings().setValue(cSetting, "18446744073709551616");
  EXPECT_LT(algorithm.getMaximumExtraMemoryUsageInBytes(), ~0UL >> 1);
  pxl::globalSettings().setValue(cSetting, "much");
  EXPECT_GT(algorithm.getMaximumExtraMemoryUsageInBytes(), 12345u);
}

TEST_F(ExtraMemory, IsWhatWasSetForTheAlgorithmBeforeAll) {
  pxl::globalSettings().setValue(cSetting, "12345");
  for (unsigned long const bytes : {0UL, 77UL, ~0UL}) {
    algorithm.setMaximumExtraMemoryUsageInBytes(bytes);
    EXPECT_EQ(algorithm.getMaximumExtraMemoryUsageInBytes(), bytes);
  }
  EXPECT_EQ(VolumeOperator().getMaximumExtraMemoryUsageInBytes(), 12345u);
}

}  // namespace
