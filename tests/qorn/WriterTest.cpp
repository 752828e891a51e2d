#include <set>

#include "qorn/io/ImageWriters.h"
#include "support/Npy.h"
#include "support/Png.h"
#include "support/Tiff.h"
#include "support/Writing.h"

namespace {

using namespace test;

Shape const cShapes[] = {{5, 37},         {1, 1},          {1, 70000},      {3000, 1},
                         {4, 5, 37},      {1, 5, 37},      {3, 4, 5, 7},    {1, 1, 5, 37},
                         {2, 3, 4, 5, 7}, {2, 1, 1, 5, 7}, {1, 1, 1, 1, 1}, {3, 700, 600}};

class Writer : public ::testing::Test {
 protected:
  /** The reader finds what was written. */
  void expectReadsBack(std::string const& path, TypeNames const& names, Shape const& shape,
                       std::string const& voxels) const {
    auto const read = qorn::io::readImage(path);
    EXPECT_EQ(read.header.type, names.type);
    EXPECT_EQ(read.header.rank, static_cast<int>(shape.size()));
    EXPECT_EQ(read.header.sizes, makeHeader(names, shape).sizes);
    EXPECT_TRUE(getVoxelBytes(*read.image) == voxels);
  }

  TempFolder folder;
};

TEST_F(Writer, NpyHasTheBytesOfTheFormat) {
  for (TypeNames const& names : cAllTypes) {
    for (Shape const& shape : cShapes) {
      for (bool const isOnDisk : {false, true}) {
        SCOPED_TRACE(names.npy + toText(shape) + (isOnDisk ? " on disk" : ""));
        std::string const voxels = makeVoxels(names, countVoxels(shape));
        std::string const path = folder / "image.npy";
        qorn::io::OutputOptions options;
        options.isOnDisk = isOnDisk;
        saveImage(path, names, shape, voxels, options);
        std::string const descr = (names.bits == 8 ? "|" : "<") + std::string(names.npy);
        EXPECT_TRUE(readFile(path) == test::makeNpyHeader(makeNpyDictionary(descr, toText(shape))) + voxels);
        expectReadsBack(path, names, shape, voxels);
      }
    }
  }
}

/** The first block of a well-known small file, byte by byte. */
TEST_F(Writer, NpyHeaderIsThatOfVersionOne) {
  std::string expected("\x93NUMPY\x01\x00\x76\x00", 10);
  expected += "{'descr': '<u2', 'fortran_order': False, 'shape': (2, 3), }";
  expected += std::string(58, ' ') + "\n";
  EXPECT_EQ(qorn::io::makeNpyHeader(makeHeader(cAllTypes[1], {2, 3})), expected);
}

TEST_F(Writer, NpyHeadersEndAtAMultipleOf64Bytes) {
  std::set<std::size_t> lengths;
  for (unsigned long plans = 1; plans < 1UL << 30; plans *= 10) {
    for (unsigned long rows = 1; rows < 1UL << 10; rows *= 10) {
      for (std::size_t rank = 2; rank <= 5; ++rank) {
        Shape shape(rank, 1);
        shape[0] = plans;
        shape[rank - 1] = rows;
        std::string const header = qorn::io::makeNpyHeader(makeHeader(cAllTypes[0], shape));
        ASSERT_EQ(header.size() % 64, 0u);
        ASSERT_EQ(header.back(), '\n');
        auto const low = static_cast<unsigned char>(header[8]);
        auto const high = static_cast<unsigned char>(header[9]);
        ASSERT_EQ(low + 256u * high, header.size() - 10);
        lengths.insert(header.find('}'));
      }
    }
  }
  EXPECT_GT(lengths.size(), 10u) << "there are many lengths to pad";
}

TEST_F(Writer, TiffIsReadByItsLibrary) {
  for (TypeNames const& names : cAllTypes) {
    for (Shape const& shape : cShapes) {
      SCOPED_TRACE(names.npy + toText(shape));
      std::string const voxels = makeVoxels(names, countVoxels(shape));
      std::string const path = folder / (shape.size() % 2 == 0 ? "image.tif" : "image.TIFF");
      saveImage(path, names, shape, voxels);
      TiffContent const content = readTiff(path);
      EXPECT_EQ(content.layout.cols, shape.back());
      EXPECT_EQ(content.layout.rows, shape.end()[-2]);
      EXPECT_EQ(content.layout.pages, countVoxels(shape) / shape.back() / shape.end()[-2]);
      EXPECT_EQ(content.layout.bits, names.bits);
      EXPECT_EQ(content.layout.format, names.tiffFormat);
      EXPECT_EQ(content.layout.samples, 1);
      EXPECT_EQ(content.layout.photometric, 1);
      EXPECT_EQ(content.layout.compression, 1);
      EXPECT_TRUE(content.isAlike);
      EXPECT_FALSE(content.isBig);
      EXPECT_TRUE(content.voxels == voxels);
      // Pages tell a picture, and a stack of several plans; anything else is written down.
      bool const isTold = shape.size() == 2 || (shape.size() == 3 && shape[0] > 1);
      EXPECT_EQ(content.layout.description, isTold ? "" : "{\"shape\":" + toText(shape, true) + "}");
      expectReadsBack(path, names, shape, voxels);
    }
  }
}

TEST_F(Writer, TiffStripsAreOfModerateSize) {
  saveImage(folder / "image.tif", cAllTypes[1], {2000, 1000}, std::string(4000000, 'x'));
  unsigned int const stripRows = readTiff(folder / "image.tif").layout.stripRows;
  EXPECT_GE(stripRows, 4u);
  EXPECT_LE(stripRows, 500u);
}

TEST_F(Writer, BigTiffWhereOffsetsNeedIt) {
  auto const needs = [](TypeNames const& names, Shape const& shape) {
    return qorn::io::needsBigTiff(makeHeader(names, shape));
  };
  TypeNames const& byte = cAllTypes[0];
  TypeNames const& real = cAllTypes[7];
  EXPECT_FALSE(needs(byte, {1, 1}));
  EXPECT_FALSE(needs(byte, {65535, 65000}));
  EXPECT_FALSE(needs(byte, {4000, 1000, 1000}));
  EXPECT_FALSE(needs(real, {500, 1000, 1000}));
  EXPECT_TRUE(needs(byte, {65536, 65536}));
  EXPECT_TRUE(needs(byte, {1, 2147483647, 2}));
  EXPECT_TRUE(needs(byte, {4295, 1000, 1000}));
  EXPECT_TRUE(needs(real, {540, 1000, 1000}));
  EXPECT_TRUE(needs(real, {2, 3, 100, 1000, 1000}));
  EXPECT_TRUE(needs(byte, {1048576, 1048576}));
  // The last size whose every offset has 32 bits even without what describes the pages.
  EXPECT_TRUE(needs(byte, {1, 1, 1, 3, 1431655765}));
  // Pages need room themselves, and so do rows, each of which may be a strip.
  EXPECT_FALSE(needs(byte, {10000, 2, 2}));
  EXPECT_TRUE(needs(byte, {2000000, 1, 1}));
  EXPECT_TRUE(needs(byte, {300000000, 1, 5}));
  EXPECT_TRUE(needs(byte, {2000000000, 2}));
}

TEST_F(Writer, TiffWithMorePagesThanReadersTakeIsRefused) {
  qorn::io::checkTiff("a.tif", makeHeader(cAllTypes[0], {1048576, 1, 1}));
  EXPECT_EQ(getSaveFault(folder / "image.tif", cAllTypes[0], {1048577, 1, 1}),
            "TIFF holds at most 1048576 plans, this image has 1048577");
  EXPECT_NE(getSaveFault(folder / "image.tiff", cAllTypes[0], {5, 500, 500, 1, 1}), "");
  EXPECT_EQ(listFolder(folder / "").size(), 0u);
}

/** As many pages as 16 bits don't count. */
TEST_F(Writer, TiffWithManyPages) {
  Shape const shape{3, 4, 6000, 1, 2};
  std::string const voxels = makeVoxels(cAllTypes[0], countVoxels(shape));
  saveImage(folder / "image.tif", cAllTypes[0], shape, voxels);
  expectReadsBack(folder / "image.tif", cAllTypes[0], shape, voxels);
}

TEST_F(Writer, PngIsReadByItsLibrary) {
  for (int const type : {0, 1}) {
    for (Shape const& shape : {Shape{5, 37}, {1, 1}, {1, 1000001}, {70000, 1}, {300, 400}}) {
      TypeNames const& names = cAllTypes[type];
      SCOPED_TRACE(names.npy + toText(shape));
      std::string const voxels = makeVoxels(names, countVoxels(shape));
      std::string const path = folder / "image.PNG";
      saveImage(path, names, shape, voxels);
      PngContent const content = readPng(path);
      EXPECT_EQ(content.cols, shape[1]);
      EXPECT_EQ(content.rows, shape[0]);
      EXPECT_EQ(content.bits, names.bits);
      EXPECT_EQ(content.colour, 0);
      std::string swapped = voxels;
      for (std::size_t i = 0; names.bits == 16 && i < swapped.size(); i += 2) std::swap(swapped[i], swapped[i + 1]);
      EXPECT_TRUE(content.rowBytes == swapped);
      expectReadsBack(path, names, shape, voxels);
    }
  }
}

TEST_F(Writer, PngOfAnotherTypeOrRankIsRefused) {
  for (TypeNames const& names : cAllTypes) {
    if (names.tiffFormat == 1 && names.bits <= 16) continue;
    EXPECT_EQ(getSaveFault(folder / "image.png", names, {3, 4}),
              std::string("PNG holds 2-D images of uint8 and uint16, this one is 2-D of ") +
                  pxl::helper::getNameOf(names.type));
  }
  for (Shape const& shape : {Shape{1, 3, 4}, {2, 3, 4}, {1, 1, 3, 4}, {1, 1, 1, 3, 4}}) {
    EXPECT_EQ(
        getSaveFault(folder / "image.png", cAllTypes[0], shape),
        "PNG holds 2-D images of uint8 and uint16, this one is " + std::to_string(shape.size()) + "-D of uint8");
  }
  EXPECT_EQ(listFolder(folder / "").size(), 0u);
}

TEST_F(Writer, OnlyNpyStaysOnDisk) {
  qorn::io::OutputOptions options;
  options.isOnDisk = true;
  for (std::string const name : {"image.tif", "image.tiff", "image.png"}) {
    EXPECT_EQ(getSaveFault(folder / name, cAllTypes[0], {3, 4}, options), "only .npy can be used on disk");
  }
  EXPECT_EQ(listFolder(folder / "").size(), 0u);
  qorn::io::OutputImage const output(folder / "image.npy", makeHeader(cAllTypes[5], {3, 4}), options);
  EXPECT_TRUE(output.getImage()->getSource().storage->isOnDisk());
}

TEST_F(Writer, UnknownSuffixesAreRefused) {
  for (std::string const name :
       {"image", "image.", "image.jpg", "image.npy.gz", "image.gz", "nii.gz", "npy", "image.npy/", "a.tif/b", ""}) {
    EXPECT_EQ(getSaveFault(folder / name, cAllTypes[0], {3, 4}),
              "no image format has this suffix; known are .npy .tif .tiff .png .nii .nii.gz");
  }
  EXPECT_EQ(getSaveFault(folder / ".npy", cAllTypes[0], {3, 4}), "") << "a suffix is a name";
  EXPECT_EQ(listFolder(folder / ""), std::vector<std::string>{".npy"});
}

TEST_F(Writer, InterpretationIsGiven) {
  for (bool const isOnDisk : {false, true}) {
    for (int const interpretation : {pxl::cBinary, pxl::cGrey}) {
      qorn::io::OutputOptions options;
      options.isOnDisk = isOnDisk;
      options.interpretation = interpretation;
      qorn::io::OutputImage const output(folder / "image.npy", makeHeader(cAllTypes[0], {3, 4}), options);
      EXPECT_EQ(output.getImage()->getInterpretation(), interpretation);
    }
  }
}

TEST_F(Writer, AnImageThatIsThereIsSaved) {
  auto const image = pxl::Image::New(pxl::cInteger16, {4, 3, 1, 1, 1});
  std::string const voxels = makeVoxels(cAllTypes[4], 12);
  std::memcpy(image->getVoxels(), voxels.data(), voxels.size());
  qorn::io::OutputImage output(folder / "image.tif", makeHeader(cAllTypes[4], {3, 4}), {}, image);
  EXPECT_EQ(output.getImage(), image);
  output.write();
  output.commit();
  expectReadsBack(folder / "image.tif", cAllTypes[4], {3, 4}, voxels);
}

}  // namespace
