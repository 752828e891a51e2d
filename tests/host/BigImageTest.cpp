#include <gtest/gtest.h>
#include <sys/resource.h>

#include "support/Folder.h"
#include "support/Images.h"

namespace {

using namespace host_test;
using pxl::FileModes;
using pxl::Image;

constexpr unsigned long cMiB = 1UL << 20;
// 8 GiB of 16-bit voxels: more voxels than 32 bits count.
constexpr pxl::ImageSizes cSizes{4096, 1024, 512, 2, 1};
constexpr unsigned long cOffset = 4099;

unsigned long getPeakOfResidentBytes() {
  rusage usage;
  ::getrusage(RUSAGE_SELF, &usage);
  return static_cast<unsigned long>(usage.ru_maxrss) * 1024;
}

class BigImage : public ::testing::Test {
 protected:
  void SetUp() override {
    makeSparseFile(path, cOffset + countVoxels(cSizes) * 2);
    for (Position const& at : cMarks) {
      std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
      unsigned short const mark = markOf(at);
      long index = 0;
      for (std::size_t i = 5; i-- > 0;) index = index * static_cast<long>(cSizes[i]) + at[i];
      file.seekp(static_cast<std::streamoff>(cOffset) + index * 2);
      file.write(reinterpret_cast<char const*>(&mark), sizeof(mark));
    }
  }

  static unsigned short markOf(Position const& at) {
    return static_cast<unsigned short>(1 + at[0] + 3 * at[1] + 5 * at[2] + 7 * at[3]);
  }

  static void expectMarks(Image const& image) {
    auto const view = makeConstView<unsigned short>(&image);
    EXPECT_EQ(view->getLargestPossibleRegion().getNumOfVoxels(), 1UL << 32);
    auto const converting = makeConstView<double>(&image);
    for (Position const& at : cMarks) {
      EXPECT_EQ(readVoxel(*view, at), markOf(at));
      EXPECT_EQ(readVoxel(*converting, at), markOf(at));
    }
  }

  static constexpr Position cMarks[] = {{0, 0, 0, 0, 0},        {4095, 0, 0, 0, 0}, {17, 1023, 0, 0, 0},
                                        {0, 0, 511, 0, 0},      {1, 2, 3, 1, 0},    {4095, 1023, 511, 0, 0},
                                        {4095, 1023, 511, 1, 0}};

  Folder folder;
  std::string path = folder / "big.raw";
};

TEST_F(BigImage, IsReadFromDiskWithLittleMemory) {
  auto const image = Image::OnDisk(path, FileModes::cReadOnly, pxl::cUnsignedInteger16, cSizes, cOffset);
  expectMarks(*image);
  auto const view = makeConstView<unsigned short>(image.get());
  auto const converting = makeConstView<float>(image.get());
  std::vector<unsigned short> row(4096);
  std::vector<float> reals(4096);
  unsigned long const before = getPeakOfResidentBytes();
  // Half a GiB of rows from everywhere: whoever keeps them needs that much.
  for (long plan = 0; plan < 512; ++plan)
    for (long r = 1; r < 1024; r += 8) {
      view->getInterface()->readRow(row.data(), 4096, 0, r, plan, 0, 0);
      ASSERT_EQ(row[100], 0);
      if (r % 64 == 1) converting->getInterface()->readRow(reals.data(), 4096, 0, r, plan, 1, 0);
    }
  EXPECT_LT(getPeakOfResidentBytes() - before, 32 * cMiB);
}

TEST_F(BigImage, IsWrittenFarBeyond32BitOffsets) {
  auto const image = Image::OnDisk(path, FileModes::cReadWrite, pxl::cUnsignedInteger16, cSizes, cOffset);
  auto const view = makeView<unsigned short>(image.get());
  unsigned short const value = 4711;
  ASSERT_TRUE(view->getInterface()->writeRowAt(1, &value, 4094, 1023, 511, 1, 0));
  std::ifstream file(path, std::ios::binary);
  file.seekg(-4, std::ios::end);
  unsigned short stored[2];
  file.read(reinterpret_cast<char*>(stored), sizeof(stored));
  EXPECT_EQ(stored[0], value);
  EXPECT_EQ(stored[1], markOf({4095, 1023, 511, 1, 0}));
}

TEST_F(BigImage, IsMappedWithoutBeingRead) {
  unsigned long const before = getPeakOfResidentBytes();
  auto const image = Image::OnMappedFile(path, pxl::cUnsignedInteger16, cSizes, cOffset);
  expectMarks(*image);
  EXPECT_LT(getPeakOfResidentBytes() - before, 32 * cMiB);
}

}  // namespace
