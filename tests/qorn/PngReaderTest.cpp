#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/Png.h"
#include "support/Reading.h"

namespace {

using namespace test;

class PngReader : public ::testing::Test {
 protected:
  TempFolder folder;
  std::string path = folder / "image.png";
};

TEST_F(PngReader, ReadsGreyOf8And16Bits) {
  for (bool const isInterlaced : {false, true}) {
    auto const bytes = makeValues<unsigned char>(13 * 7);
    writePng(path, 13, 7, 8, 0, toBytes(bytes), isInterlaced);
    auto read = qorn::io::readImage(path);
    EXPECT_EQ(read.image->getVoxelType(), pxl::cUnsignedInteger8);
    EXPECT_EQ(read.image->getSizes(), (pxl::ImageSizes{13, 7, 1, 1, 1}));
    EXPECT_EQ(read.header.rank, 2);
    EXPECT_EQ(getVoxelBytes(*read.image), toBytes(bytes));

    auto const words = makeValues<unsigned short>(9 * 11);
    writePng(path, 9, 11, 16, 0, toBytes(words, true), isInterlaced);
    read = qorn::io::readImage(path);
    EXPECT_EQ(read.image->getVoxelType(), pxl::cUnsignedInteger16);
    EXPECT_EQ(read.image->getSizes(), (pxl::ImageSizes{9, 11, 1, 1, 1}));
    EXPECT_EQ(getVoxelBytes(*read.image), toBytes(words));
  }
}

TEST_F(PngReader, RefusesTwoAndFourBits) {
  for (int const bits : {2, 4}) {
    writePng(path, 2, 2, bits, 0, "\1\1");
    expectHeaderFault(path, "has " + std::to_string(bits) + " bits per pixel; only 1, 8 and 16 are read");
  }
}

TEST_F(PngReader, RefusesEveryTruncation) {
  writePng(path, 13, 7, 8, 0, toBytes(makeValues<unsigned char>(13 * 7)));
  expectCutsRefused(path);
}

TEST_F(PngReader, RefusesDamage) {
  writePng(path, 13, 7, 8, 0, toBytes(makeValues<unsigned char>(13 * 7)));
  std::string bytes = readFile(path);
  bytes[bytes.size() - 30] ^= 1;
  writeFile(path, bytes);
  EXPECT_NE(getReadFault(path), "");
  writeFile(path, "not a PNG at all, though its name says so");
  expectHeaderFault(path, "not a PNG file");
}

TEST_F(PngReader, ChecksTheDeclaredSizeBeforeMemoryIsTaken) {
  // No data at all: a compressed stream of this length can't hold the picture.
  writeFile(path, makePngStart(0x7fffffff, 0x7fffffff, 16) + makePngChunk("IDAT", "x"));
  expectHeaderFault(path, "more than 2^40 voxels");
  writeFile(path, makePngStart(32768, 32768, 8) + makePngChunk("IDAT", "x"));
  expectHeaderFault(path, "is too short for the 1073741824 voxels it declares");
  writeFile(path, makePngStart(0, 5, 8) + makePngChunk("IDAT", "x"));
  EXPECT_NE(getReadFault(path), "");
}

TEST_F(PngReader, ObeysTheLimitOfCompressedVoxels) {
  writePng(path, 13, 7, 8, 0, toBytes(makeValues<unsigned char>(13 * 7)));
  qorn::io::ReadOptions options;
  options.maxCompressedVoxels = 13 * 7;
  EXPECT_EQ(getReadFault(path, options), "");
  options.maxCompressedVoxels = 13 * 7 - 1;
  EXPECT_NE(getReadFault(path, options).find("91 voxels in compressed form; at most 90"), std::string::npos);
}

TEST_F(PngReader, CannotStayOnDisk) {
  writePng(path, 2, 2, 8, 0, "abcd");
  qorn::io::ReadOptions options;
  options.isOnDisk = true;
  EXPECT_NE(getReadFault(path, options).find("can't be used on disk"), std::string::npos);
}

}  // namespace
