// How much memory of temporary images the process keeps.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <fstream>

#include "pxl/Image.h"
#include "pxl/Settings.h"
#include "pxl/io/TemporaryImage.h"

namespace {

constexpr char cSetting[] = "PXL_MAX_KEPT_MEMORY";
constexpr unsigned long cBytes = 1UL << 27;

unsigned long getResidentBytes() {
  std::ifstream file("/proc/self/statm");
  unsigned long size = 0, resident = 0;
  file >> size >> resident;
  return resident * static_cast<unsigned long>(::sysconf(_SC_PAGESIZE));
}

class KeptMemory : public ::testing::Test {
 protected:
  KeptMemory() { pxl::releaseTemporaries(); }
  ~KeptMemory() override { pxl::globalSettings().clearValue(cSetting); }

  /** Makes a temporary image of so many bytes, writes all of it, and drops it. */
  static void useTemporary(unsigned long bytes) {
    auto const temporary = pxl::io::TemporaryImage::New(pxl::io::cInMemory);
    ASSERT_TRUE(temporary->reserve(pxl::cUnsignedInteger8, 1UL << 20, bytes >> 20, 1, 1, 1));
    auto& image = dynamic_cast<pxl::Image&>(*temporary->getImageModel());
    std::memset(image.getVoxels(), 1, bytes);
  }
};

TEST_F(KeptMemory, IsGivenBackOnDemand) {
  unsigned long const before = getResidentBytes();
  useTemporary(cBytes);
  EXPECT_GE(getResidentBytes(), before + cBytes / 10 * 9) << "kept";
  EXPECT_EQ(pxl::releaseTemporaries(), cBytes);
  EXPECT_LE(getResidentBytes(), before + cBytes / 10);
  EXPECT_EQ(pxl::releaseTemporaries(), 0u) << "once";
}

TEST_F(KeptMemory, OfImagesInUseStays) {
  auto const temporary = pxl::io::TemporaryImage::New(pxl::io::cInMemory);
  ASSERT_TRUE(temporary->reserve(pxl::cUnsignedInteger8, 1UL << 20, 1, 1, 1, 1));
  auto& image = dynamic_cast<pxl::Image&>(*temporary->getImageModel());
  std::memset(image.getVoxels(), 7, 1UL << 20);
  EXPECT_EQ(pxl::releaseTemporaries(), 0u);
  EXPECT_EQ(static_cast<unsigned char const*>(image.getVoxels())[1234], 7);
}

TEST_F(KeptMemory, IsLimitedByASetting) {
  struct Case {
    char const* limit;
    unsigned long kept;
  };
  for (Case const& expected : {Case{"1048576", 1048576}, Case{"1048575", 0}, Case{"0", 0}, Case{"2000000", 1048576},
                               Case{"nonsense", 1048576}}) {
    SCOPED_TRACE(expected.limit);
    pxl::globalSettings().setValue(cSetting, expected.limit);
    useTemporary(1UL << 20);
    EXPECT_EQ(pxl::releaseTemporaries(), expected.kept);
  }
}

TEST_F(KeptMemory, IsAtMostAGigabyteUnlessSet) {
  auto const keep = [](unsigned long plans) {
    auto const temporary = pxl::io::TemporaryImage::New(pxl::io::cInMemory);
    EXPECT_TRUE(temporary->reserve(pxl::cUnsignedInteger8, 1UL << 20, 1UL << 5, plans, 1, 1));
  };
  keep(32);
  EXPECT_EQ(pxl::releaseTemporaries(), 1UL << 30);
  keep(33);
  EXPECT_EQ(pxl::releaseTemporaries(), 0u);
  pxl::globalSettings().setValue(cSetting, "1107296256");
  keep(33);
  EXPECT_EQ(pxl::releaseTemporaries(), 33UL << 25);
}

TEST_F(KeptMemory, IsASettingThatIsDescribed) {
  bool isDescribed = false;
  for (auto const& known : pxl::Settings::getDescriptions()) {
    isDescribed = isDescribed || (known.name == std::string(cSetting) && known.type == std::string("bytes"));
  }
  EXPECT_TRUE(isDescribed);
}

}  // namespace
