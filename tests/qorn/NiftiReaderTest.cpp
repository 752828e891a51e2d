#include <cmath>
#include <limits>

#include "support/Files.h"
#include "support/Nifti.h"
#include "support/Pixels.h"
#include "support/Reading.h"

namespace {

using namespace test;

constexpr float cNan = std::numeric_limits<float>::quiet_NaN();

class NiftiReader : public ::testing::Test {
 protected:
  /** The file is refused for this reason, compressed or not. */
  void expectRefused(NiftiStart const& start, std::string const& why) const {
    std::string const bytes = start.getBytes() + std::string(4096, 'x');
    writeFile(path, bytes);
    expectHeaderFault(path, why);
    writeGzip(packed, bytes);
    expectHeaderFault(packed, why);
  }
  /** The same for a file that is only good when it is longer. */
  void expectPlainRefused(std::string const& bytes, std::string const& why) const {
    writeFile(path, bytes);
    expectHeaderFault(path, why);
  }

  TempFolder folder;
  std::string path = folder / "image.nii";
  std::string packed = folder / "image.NII.gz";
};

TEST_F(NiftiReader, ReadsEveryTypeByteOrderAndRank) {
  struct Case {
    std::vector<int> sizes;
    int rank;
    pxl::ImageSizes image;
  };
  for (Case const& one : {Case{{37}, 2, {37, 1, 1, 1, 1}},
                          {{37, 5}, 2, {37, 5, 1, 1, 1}},
                          {{37, 5, 4}, 3, {37, 5, 4, 1, 1}},
                          {{7, 5, 4, 3}, 4, {7, 5, 4, 3, 1}},
                          {{7, 5, 4, 3, 2}, 5, {7, 5, 4, 3, 2}},
                          {{7, 5, 4, 1, 3}, 5, {7, 5, 4, 1, 3}},
                          {{7, 5, 1}, 3, {7, 5, 1, 1, 1}},
                          {{7, 5, 4, 3, 2, 1, 1}, 5, {7, 5, 4, 3, 2}}}) {
    for (std::size_t type = 0; type < std::size(cAllTypes); ++type) {
      for (bool const isBigEndian : {false, true}) {
        for (bool const isPacked : {false, true}) {
          TypeNames const& names = cAllTypes[type];
          SCOPED_TRACE(names.npy + ::testing::PrintToString(one.sizes) + std::to_string(isBigEndian));
          std::size_t const voxelBytes = static_cast<std::size_t>(names.bits) / 8;
          std::size_t bytes = voxelBytes;
          for (int const size : one.sizes) bytes *= static_cast<std::size_t>(size);
          std::string const voxels = toBytes(makeValues<unsigned char>(bytes));
          NiftiStart const start(one.sizes, cNiftiTypes[type], names.bits, isBigEndian);
          std::string const file = start.getBytes() + (isBigEndian ? swapBytes(voxels, voxelBytes) : voxels);
          isPacked ? writeGzip(packed, file) : writeFile(path, file);
          auto const read = qorn::io::readImage(isPacked ? packed : path);
          EXPECT_EQ(read.header.format, std::string("nifti"));
          EXPECT_EQ(read.header.isCompressed, isPacked);
          EXPECT_EQ(read.header.rank, one.rank);
          EXPECT_EQ(read.image->getVoxelType(), names.type);
          EXPECT_EQ(read.image->getSizes(), one.image);
          EXPECT_TRUE(getVoxelBytes(*read.image) == voxels);
        }
      }
    }
  }
}

TEST_F(NiftiReader, VoxelsBeginWhereTheHeaderSays) {
  for (bool const isBigEndian : {false, true}) {
    NiftiStart start({6, 2}, 2, 8, isBigEndian);
    start.put(cNiftiOffset, 400.0f);
    std::string const bytes = start.getBytes() + std::string(48, 'e') + "abcdefghijkl";
    for (std::string const rest : {"", "behind"}) {
      writeFile(path, bytes + rest);
      EXPECT_EQ(getVoxelBytes(*qorn::io::readImage(path).image), "abcdefghijkl");
      writeGzip(packed, bytes + rest);
      EXPECT_EQ(getVoxelBytes(*qorn::io::readImage(packed).image), "abcdefghijkl");
    }
  }
}

TEST_F(NiftiReader, StreamsOfGzipFollowOneAnother) {
  std::string const start = NiftiStart({6, 2}, 2, 8).getBytes();
  std::string bytes;
  for (std::string const& part : {start.substr(0, 100), start.substr(100) + "abc", std::string("defghijkl")}) {
    writeGzip(packed, part);
    bytes += readFile(packed);
  }
  writeFile(packed, bytes);
  EXPECT_EQ(getVoxelBytes(*qorn::io::readImage(packed).image), "abcdefghijkl");
}

TEST_F(NiftiReader, TellsSpacingAndScaleAndChangesNoVoxel) {
  for (bool const isBigEndian : {false, true}) {
    NiftiStart start({2, 1, 3}, 2, 8, isBigEndian);
    start.put(cNiftiPixdim + 4, 0.7f).put(cNiftiPixdim + 8, 0.5f).put(cNiftiPixdim + 12, 3.0f);
    start.put(cNiftiSlope, -2.5f).put(cNiftiIntercept, 7.0f);
    writeFile(path, start.getBytes() + "abcdef");
    auto const read = qorn::io::readImage(path);
    EXPECT_EQ(read.header.spacing, (std::vector<float>{0.7f, 0.5f, 3.0f}));
    ASSERT_TRUE(read.header.scale);
    EXPECT_EQ(read.header.scale->slope, -2.5f);
    EXPECT_EQ(read.header.scale->intercept, 7.0f);
    EXPECT_EQ(getVoxelBytes(*read.image), "abcdef");
  }
}

TEST_F(NiftiReader, ScalesThatSayNothing) {
  struct Case {
    float slope;
    float intercept;
  };
  for (Case const& none :
       {Case{0, 0}, {0, 5}, {-0.0f, 5}, {cNan, 0}, {INFINITY, 1}, {1, cNan}, {2, -INFINITY}, {1, 0}}) {
    NiftiStart start({2}, 2, 8);
    start.put(cNiftiSlope, none.slope).put(cNiftiIntercept, none.intercept);
    writeFile(path, start.getBytes() + "ab");
    EXPECT_FALSE(qorn::io::readImageHeader(path).scale) << none.slope << " " << none.intercept;
  }
}

TEST_F(NiftiReader, OtherFormatsTellNeither) {
  EXPECT_TRUE(qorn::io::makeHeader("a", pxl::cFloat, {2, 3}, false).spacing.empty());
  EXPECT_FALSE(qorn::io::makeHeader("a", pxl::cFloat, {2, 3}, false).scale);
}

TEST_F(NiftiReader, RefusesOtherTypes) {
  struct Case {
    int type;
    int bits;
    char const* why;
  };
  for (Case const& other : {Case{32, 64, "voxels of type COMPLEX64 aren't read"},
                            {1792, 128, "COMPLEX128"},
                            {2048, 256, "COMPLEX256"},
                            {128, 24, "RGB24"},
                            {2304, 32, "RGBA32"},
                            {1024, 64, "INT64"},
                            {1280, 64, "UINT64"},
                            {1536, 128, "FLOAT128"},
                            {1, 1, "BINARY"},
                            {0, 0, ""},
                            {7, 8, "the voxel type 7 isn't one"},
                            {-2, 8, "the voxel type -2 isn't one"}}) {
    expectRefused(NiftiStart({3, 4}, other.type, other.bits), other.why);
  }
  expectRefused(NiftiStart({3, 4}, 16, 64), "says 64 bits per voxel and the type float32");
  expectRefused(NiftiStart({3, 4}, 2, 0), "says 0 bits per voxel");
}

TEST_F(NiftiReader, RefusesImpossibleSizes) {
  for (bool const isBigEndian : {false, true}) {
    expectRefused(NiftiStart({3, -4}, 2, 8, isBigEndian), "dimension 2 has the size -4");
    expectRefused(NiftiStart({3, 0, 2}, 2, 8, isBigEndian), "has no voxels");
    expectRefused(NiftiStart({}, 2, 8, isBigEndian), "0 dimensions; a NIfTI-1 file has 1 to 7");
    expectRefused(NiftiStart({3, 4}, 2, 8, isBigEndian).put(cNiftiDim, short(8)), "8 dimensions");
    expectRefused(NiftiStart({3, 4}, 2, 8, isBigEndian).put(cNiftiDim, short(-2)), "-2 dimensions");
    expectRefused(NiftiStart({3, 4, 1, 1, 1, 2}, 2, 8, isBigEndian), "dimensions 6 and 7 can only have the size 1");
    expectRefused(NiftiStart({3, 4, 1, 1, 1, 1, 2}, 2, 8, isBigEndian), "dimensions 6 and 7 can only");
    expectRefused(NiftiStart({32767, 32767, 32767, 32767, 32767}, 64, 64, isBigEndian), "more than 2^40 voxels");
    expectRefused(NiftiStart({32767, 32767, 1024}, 64, 64, isBigEndian), "declares");
  }
}

TEST_F(NiftiReader, RefusesOtherHeaders) {
  expectRefused(NiftiStart({3, 4}, 2, 8).put(cNiftiHeaderBytes, 349), "not a NIfTI-1 file");
  expectRefused(NiftiStart({3, 4}, 2, 8).put(cNiftiHeaderBytes, 540), "a NIfTI-2 file");
  expectRefused(NiftiStart({3, 4}, 2, 8, true).put(cNiftiHeaderBytes, 540), "a NIfTI-2 file");
  expectRefused(NiftiStart({3, 4}, 2, 8).putText(cNiftiMagic, "ni1"), "its voxels are in another file");
  expectRefused(NiftiStart({3, 4}, 2, 8).putText(cNiftiMagic, std::string(4, '\0')), "not a NIfTI-1 file");
  expectRefused(NiftiStart({3, 4}, 2, 8).putText(cNiftiMagic, "n+1x"), "not a NIfTI-1 file");
  for (float const offset : {0.0f, -352.0f, 351.0f, 352.5f, cNan, INFINITY, -INFINITY, 1e30f}) {
    expectRefused(NiftiStart({3, 4}, 2, 8).put(cNiftiOffset, offset), "says that its voxels begin at byte");
  }
  std::string const pair = folder / "image.hdr";
  writeFile(pair, NiftiStart({3, 4}, 2, 8).getBytes());
  expectHeaderFault(pair, "no image format has this suffix");
}

TEST_F(NiftiReader, RefusesFilesThatAreTooShort) {
  std::string const bytes = NiftiStart({3, 4}, 4, 16).getBytes() + std::string(24, 'x');
  writeFile(path, bytes);
  EXPECT_EQ(getReadFault(path), "");
  expectPlainRefused(bytes.substr(0, bytes.size() - 1), "declares 24 bytes of voxels and has 23");
  expectPlainRefused(bytes.substr(0, 352), "declares 24 bytes of voxels and has 0");
  expectPlainRefused(bytes.substr(0, 351), "not a NIfTI-1 file");
  expectPlainRefused("x", "not a NIfTI-1 file");
  expectPlainRefused(NiftiStart({3, 4}, 4, 16).put(cNiftiOffset, 1e6f).getBytes(),
                     "says that its voxels begin at byte 1000000, and has only 352");
}

TEST_F(NiftiReader, RefusesBrokenCompression) {
  std::string const bytes = NiftiStart({300, 4}, 4, 16).getBytes() + toBytes(makeValues<short>(1200));
  writeFile(packed, bytes);
  expectHeaderFault(packed, "not a gzip file");
  writeFile(packed, "\x1f");
  expectHeaderFault(packed, "not a gzip file");
  writeFile(packed, "\x1f\x8b and nothing of that kind");
  expectHeaderFault(packed, "broken gzip data");
  writeGzip(packed, bytes.substr(0, 351));
  expectHeaderFault(packed, "ends too soon");
  writeGzip(packed, bytes.substr(0, bytes.size() - 1));
  EXPECT_EQ(getReadFault(packed), "ends too soon");
  writeGzip(packed, bytes);
  std::string const good = readFile(packed);
  for (std::size_t const length : {good.size() - 1, good.size() - 8, good.size() - 9, good.size() / 2}) {
    writeFile(packed, good.substr(0, length));
    EXPECT_EQ(getReadFault(packed), "ends too soon") << length;
  }
  for (std::size_t const place : {good.size() - 6, good.size() - 2}) {  // checksum and length
    std::string bad = good;
    bad[place] = static_cast<char>(bad[place] ^ 1);
    writeFile(packed, bad);
    EXPECT_EQ(getReadFault(packed), "broken gzip data") << place;
  }
}

TEST_F(NiftiReader, CompressedFilesAreLimited) {
  std::string const bytes = NiftiStart({100, 90}, 4, 16).getBytes() + std::string(18000, 'x');
  writeFile(path, bytes);
  writeGzip(packed, bytes);
  qorn::io::ReadOptions options;
  options.maxCompressedVoxels = 9000;
  EXPECT_EQ(getReadFault(packed, options), "");
  options.maxCompressedVoxels = 8999;
  EXPECT_NE(getReadFault(packed, options).find("9000 voxels in compressed form; at most 8999"), std::string::npos);
  EXPECT_EQ(getReadFault(path, options), "");
  // A stream of this length can't hold so much.
  writeGzip(packed, NiftiStart({32767, 32767}, 2, 8).getBytes() + "x");
  expectHeaderFault(packed, "is too short for the 1073676289 voxels it declares");
  writeGzip(packed, NiftiStart({3, 4}, 2, 8).put(cNiftiOffset, 1e12f).getBytes() + "x");
  expectHeaderFault(packed, "is too short");
}

TEST_F(NiftiReader, IsNotUsedOnDisk) {
  writeFile(path, NiftiStart({3, 4}, 2, 8).getBytes() + std::string(12, 'x'));
  qorn::io::ReadOptions options;
  options.isOnDisk = true;
  EXPECT_EQ(getReadFault(path, options), "NIfTI data can't be used on disk; only .npy can");
}

}  // namespace
