#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/Reading.h"
#include "support/Tiff.h"

namespace {

using namespace test;

class TiffReader : public ::testing::Test {
 protected:
  /** Writes pages of noise and expects to read them back. */
  void expectReadsBack(TiffLayout const& layout, TypeNames const& names, pxl::ImageSizes const& sizes,
                       int rank) const {
    auto const count = static_cast<unsigned long>(layout.bits) / 8 * layout.cols * layout.rows * layout.pages;
    std::string const voxels = toBytes(makeValues<unsigned char>(count));
    writeTiff(path, layout, voxels);
    auto const read = qorn::io::readImage(path);
    EXPECT_EQ(read.image->getVoxelType(), names.type);
    EXPECT_EQ(read.image->getSizes(), sizes);
    EXPECT_EQ(read.header.rank, rank);
    EXPECT_EQ(read.header.isCompressed, layout.compression != 1);
    EXPECT_TRUE(getVoxelBytes(*read.image) == voxels);
  }

  TempFolder folder;
  std::string path = folder / "image.tif";
};

TiffLayout makeLayout(TypeNames const& names, unsigned int pages) {
  TiffLayout layout = makeTiffLayout(37, 20, pages);
  layout.bits = names.bits;
  layout.format = names.tiffFormat;
  return layout;
}

TEST_F(TiffReader, ReadsEveryTypeByteOrderAndOffsetSize) {
  for (TypeNames const& names : cAllTypes) {
    for (std::string const mode : {"wl", "wb", "wl8", "wb8"}) {
      SCOPED_TRACE(names.npy + mode);
      TiffLayout layout = makeLayout(names, 3);
      layout.mode = mode;
      expectReadsBack(layout, names, {37, 20, 3, 1, 1}, 3);
    }
  }
}

TEST_F(TiffReader, ReadsStripsAndTiles) {
  for (TypeNames const& names : cAllTypes) {
    for (unsigned int const tile : {0u, 16u, 64u}) {
      for (unsigned int const stripRows : {1u, 7u, 20u, 1000u}) {
        SCOPED_TRACE(names.npy + std::to_string(tile) + "," + std::to_string(stripRows));
        TiffLayout layout = makeLayout(names, 1);
        layout.tile = tile;
        layout.stripRows = stripRows;
        expectReadsBack(layout, names, {37, 20, 1, 1, 1}, 2);
      }
    }
  }
}

TEST_F(TiffReader, ReadsCompressedData) {
  for (TypeNames const& names : cAllTypes) {
    for (int const compression : {5, 8, 32946, 32773}) {
      for (unsigned int const tile : {0u, 32u}) {
        for (std::string const mode : {"wl", "wb"}) {
          SCOPED_TRACE(names.npy + std::to_string(compression) + mode + std::to_string(tile));
          TiffLayout layout = makeLayout(names, 2);
          layout.compression = compression;
          layout.tile = tile;
          layout.mode = mode;
          expectReadsBack(layout, names, {37, 20, 2, 1, 1}, 3);
          // The writing library stores float differences of big-endian files in the wrong order.
          if (compression == 32773 || (mode == "wb" && names.tiffFormat == 3)) continue;
          layout.predictor = names.tiffFormat == 3 ? 3 : 2;
          expectReadsBack(layout, names, {37, 20, 2, 1, 1}, 3);
        }
      }
    }
  }
}

TEST_F(TiffReader, ReadsDataThatCompressesWell) {
  for (int const compression : {5, 8, 32773}) {
    TiffLayout layout = makeTiffLayout(4000, 4000);
    layout.stripRows = 4000;
    layout.compression = compression;
    std::string const voxels(16000000, '\0');
    writeTiff(path, layout, voxels);
    EXPECT_TRUE(getVoxelBytes(*qorn::io::readImage(path).image) == voxels) << compression;
  }
}

TEST_F(TiffReader, KeepsStoredValuesWhenWhiteIsZero) {
  TiffLayout layout = makeLayout(cAllTypes[0], 1);
  layout.photometric = 0;
  expectReadsBack(layout, cAllTypes[0], {37, 20, 1, 1, 1}, 2);
}

TEST_F(TiffReader, ReadsTheShapeInTheDescription) {
  struct Case {
    char const* description;
    pxl::ImageSizes sizes;
    int rank;
  };
  for (Case const& expected :
       {Case{"{\"shape\": [2, 3, 4, 20, 37]}", {37, 20, 4, 3, 2}, 5},
        Case{"{\"axes\": \"TZYX\", \"shape\": [6, 4, 20, 37]}", {37, 20, 4, 6, 1}, 4},
        Case{"{\"shape\": [24, 20, 37]}", {37, 20, 24, 1, 1}, 3}, Case{"{\"other\": 1}", {37, 20, 24, 1, 1}, 3},
        Case{"{not JSON", {37, 20, 24, 1, 1}, 3}, Case{"a picture of 24 pages", {37, 20, 24, 1, 1}, 3}}) {
    SCOPED_TRACE(expected.description);
    TiffLayout layout = makeLayout(cAllTypes[1], 24);
    layout.description = expected.description;
    expectReadsBack(layout, cAllTypes[1], expected.sizes, expected.rank);
  }
}

TEST_F(TiffReader, IgnoresShapesThatDoNotFit) {
  for (std::string const shape :
       {"[2, 3, 5, 20, 37]", "[24, 37, 20]", "[24, 20]", "[20, 37]", "[0, 20, 37]", "[37]", "[4294967296, 6, 20, 37]",
        "[-24, 20, 37]", "[24.0, 20, 37]", "\"24\"", "[[24, 20, 37]]", "[24, 20, 37, 1]", "[]",
        "[18446744073709551615, 18446744073709551615, 20, 37]"}) {
    SCOPED_TRACE(shape);
    TiffLayout layout = makeLayout(cAllTypes[0], 24);
    layout.description = "{\"shape\": " + shape + "}";
    expectReadsBack(layout, cAllTypes[0], {37, 20, 24, 1, 1}, 3);
  }
  TiffLayout layout = makeLayout(cAllTypes[0], 24);
  layout.description = "{\"shape\": [1, 2, 3, 4, 20, 37]}";
  writeTiff(path, layout, std::string(24 * 20 * 37, 'x'));
  expectHeaderFault(path, "6 dimensions");
}

TEST_F(TiffReader, PagesMayBeDescribedOneByOne) {
  // As written by programs that append: each page declares its own shape, or the first stack only that of its pages.
  TiffLayout layout = makeLayout(cAllTypes[0], 1);
  std::string const page(20 * 37, 'x');
  for (unsigned int const nbFirst : {1u, 2u}) {
    layout.mode = "w";
    layout.pages = nbFirst;
    layout.description = nbFirst == 1 ? "{\"shape\": [20, 37]}" : "{\"shape\": [2, 20, 37]}";
    std::string voxels(nbFirst * page.size(), 'x');
    writeTiff(path, layout, voxels);
    layout.mode = "a";
    layout.pages = 1;
    layout.description = "{\"shape\": [20, 37]}";
    for (int i = 0; i < 2; ++i) writeTiff(path, layout, page);
    auto const read = qorn::io::readImage(path);
    EXPECT_EQ(read.image->getSizes(), (pxl::ImageSizes{37, 20, nbFirst + 2, 1, 1}));
    EXPECT_EQ(read.header.rank, 3);
  }
}

TEST_F(TiffReader, LastSizesOf1MayBeMissingInThePage) {
  TiffLayout layout = makeLayout(cAllTypes[0], 1);
  layout.description = "{\"shape\": [20, 37, 1]}";
  expectReadsBack(layout, cAllTypes[0], {37, 20, 1, 1, 1}, 2);
}

TEST_F(TiffReader, ObeysTheLimitOfCompressedVoxels) {
  TiffLayout layout = makeLayout(cAllTypes[0], 2);
  std::string const voxels(2 * 37 * 20, 'x');
  qorn::io::ReadOptions options;
  options.maxCompressedVoxels = voxels.size() - 1;
  writeTiff(path, layout, voxels);
  EXPECT_EQ(getReadFault(path, options), "") << "without compression the file itself is the limit";
  layout.compression = 5;
  writeTiff(path, layout, voxels);
  EXPECT_NE(getReadFault(path, options).find("1480 voxels in compressed form; at most 1479"), std::string::npos);
  options.maxCompressedVoxels = voxels.size();
  EXPECT_EQ(getReadFault(path, options), "");
}

TEST_F(TiffReader, CannotStayOnDisk) {
  writeTiff(path, makeLayout(cAllTypes[0], 1), std::string(37 * 20, 'x'));
  qorn::io::ReadOptions options;
  options.isOnDisk = true;
  EXPECT_NE(getReadFault(path, options).find("can't be used on disk"), std::string::npos);
}

}  // namespace
