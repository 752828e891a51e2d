#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/Pictures.h"
#include "support/Reading.h"
#include "support/Tiff.h"

namespace {

using namespace test;

class TiffPicture : public ::testing::Test {
 protected:
  template <class T>
  T pick(std::vector<T> const& values) {
    return values[random() % values.size()];
  }

  std::mt19937 random{21};
  TempFolder folder;
  std::string path = folder / "image.tif";
  std::string again = folder / "again.tif";
};

std::string describe(TiffLayout const& layout) {
  std::string text = std::to_string(layout.cols) + " x " + std::to_string(layout.rows) + " x " +
                     std::to_string(layout.pages) + ", " + std::to_string(layout.samples) + " samples of " +
                     std::to_string(layout.bits) + (layout.isPlanar ? " planar" : "") + ", photometric " +
                     std::to_string(layout.photometric) + ", tile " + std::to_string(layout.tile) + ", compression " +
                     std::to_string(layout.compression) + ", mode " + layout.mode + ", extra";
  for (unsigned short const extra : layout.extra) text += " " + std::to_string(extra);
  return text;
}

/** Voxels of the image: samples outermost, then pages. The file has pages outermost. */
std::string toImage(TiffLayout const& layout, std::string const& voxels) {
  auto const nbSamples = static_cast<unsigned long>(layout.samples);
  unsigned long const pageBytes = voxels.size() / layout.pages;
  unsigned long const planeBytes = pageBytes / nbSamples;
  std::string image;
  for (unsigned long s = 0; s < nbSamples; ++s) {
    for (unsigned long page = 0; page < layout.pages; ++page) {
      std::string planes = voxels.substr(page * pageBytes, pageBytes);
      if (!layout.isPlanar) planes = toPlanes(planes, nbSamples, static_cast<unsigned long>(layout.bits) / 8);
      image += planes.substr(s * planeBytes, planeBytes);
    }
  }
  return image;
}

void expectSameLayout(TiffLayout const& found, TiffLayout const& expected) {
  EXPECT_EQ(found.cols, expected.cols);
  EXPECT_EQ(found.rows, expected.rows);
  EXPECT_EQ(found.pages, expected.pages);
  EXPECT_EQ(found.bits, expected.bits);
  EXPECT_EQ(found.format, expected.format);
  EXPECT_EQ(found.samples, expected.samples);
  EXPECT_EQ(found.photometric, expected.photometric);
  EXPECT_EQ(found.isPlanar, expected.isPlanar);
  EXPECT_EQ(found.compression, 1);
}

TEST_F(TiffPicture, SamplesAreTheSpectralSeriesAndComeBack) {
  for (int round = 0; round < 300; ++round) {
    TypeNames const& names = cAllTypes[random() % 3 == 0 ? random() % 8 : random() % 2];
    TiffLayout layout;
    layout.cols = 1 + static_cast<unsigned int>(random() % 40);
    layout.rows = 1 + static_cast<unsigned int>(random() % 40);
    layout.pages = pick<unsigned int>({1, 1, 3});
    layout.bits = names.bits;
    layout.format = names.tiffFormat;
    layout.photometric = pick<int>({0, 1, 2, 2, 2});
    unsigned long const nbColours = layout.photometric == 2 ? 3 : 1;
    for (unsigned long i = nbColours == 1 ? 1 + random() % 3 : random() % 3; i > 0; --i) {
      layout.extra.push_back(pick<unsigned short>({0, 1, 2}));
    }
    layout.samples = static_cast<int>(nbColours + layout.extra.size());
    layout.isPlanar = random() % 2 == 0;
    layout.tile = pick<unsigned int>({0, 0, 16, 32});
    layout.stripRows = 1 + static_cast<unsigned int>(random() % 45);
    layout.compression = pick<int>({1, 5, 8, 32773});
    layout.mode = pick<std::string>({"wl", "wb", "w8"});
    SCOPED_TRACE(describe(layout));
    auto const nbSamples = static_cast<unsigned long>(layout.samples);
    std::string const voxels = makeNoise(
        random, static_cast<unsigned long>(layout.bits) / 8 * layout.cols * layout.rows * layout.pages * nbSamples);
    writeTiff(path, layout, voxels);

    auto const read = qorn::io::readImage(path);
    EXPECT_EQ(read.image->getVoxelType(), names.type);
    EXPECT_EQ(read.image->getSizes(), (pxl::ImageSizes{layout.cols, layout.rows, layout.pages, 1, nbSamples}));
    EXPECT_EQ(read.header.rank, 5);
    EXPECT_TRUE(getVoxelBytes(*read.image) == toImage(layout, voxels));

    saveAgain(again, read);
    TiffContent const content = readTiff(again);
    expectSameLayout(content.layout, layout);
    EXPECT_EQ(content.layout.extra, layout.extra);
    EXPECT_TRUE(content.isAlike);
    EXPECT_TRUE(content.voxels == voxels);
    EXPECT_EQ(content.layout.description, "");
  }
}

/** Strips and buffers are much smaller than such a page. */
TEST_F(TiffPicture, LargePagesComeBack) {
  for (bool const isPlanar : {false, true}) {
    TiffLayout layout = makeRgbLayout(701, 650);
    layout.bits = 16;
    layout.isPlanar = isPlanar;
    std::string const voxels = makeNoise(random, 701 * 650 * 6);
    writeTiff(path, layout, voxels);
    saveAgain(again, qorn::io::readImage(path));
    EXPECT_TRUE(readTiff(again).voxels == voxels);
    EXPECT_LT(readTiff(again).layout.stripRows, 650u);
  }
}

TEST_F(TiffPicture, SamplesThatAreNotDescribedAreUnknown) {
  TiffLayout layout = makeTiffLayout(5, 4);
  layout.samples = 4;
  layout.photometric = 2;
  writeTiff(path, layout, makeNoise(random, 80));
  EXPECT_EQ(qorn::io::getSampleNames(qorn::io::readImageHeader(path).picture),
            (std::vector<std::string>{"red", "green", "blue", "unknown"}));
}

TEST_F(TiffPicture, BitsAreZeroAndOneAndComeBack) {
  for (int round = 0; round < 200; ++round) {
    TiffLayout layout;
    layout.bits = 1;
    layout.cols = 1 + static_cast<unsigned int>(random() % 70);
    layout.rows = 1 + static_cast<unsigned int>(random() % 40);
    layout.pages = pick<unsigned int>({1, 1, 3});
    layout.photometric = pick<int>({0, 1});
    layout.tile = pick<unsigned int>({0, 0, 16, 32});
    layout.stripRows = 1 + static_cast<unsigned int>(random() % 45);
    layout.compression = pick<int>({1, 4, 5, 8, 32773});
    layout.fillOrder = pick<int>({1, 2});
    layout.mode = pick<std::string>({"wl", "wb", "w8"});
    SCOPED_TRACE(describe(layout) + ", fill order " + std::to_string(layout.fillOrder));
    unsigned long const rowBytes = (layout.cols + 7) / 8;
    // The bits beyond the last pixel mean nothing, and compressions may drop them.
    std::string const bits = clearRest(makeNoise(random, rowBytes * layout.rows * layout.pages), layout.cols);
    writeTiff(path, layout, bits);

    auto const read = qorn::io::readImage(path);
    EXPECT_EQ(read.image->getVoxelType(), pxl::cUnsignedInteger8);
    EXPECT_EQ(read.image->getSizes(), (pxl::ImageSizes{layout.cols, layout.rows, layout.pages, 1, 1}));
    EXPECT_TRUE(getVoxelBytes(*read.image) == toVoxels(bits, layout.cols));

    saveAgain(again, read);
    TiffContent const content = readTiff(again);
    expectSameLayout(content.layout, layout);
    EXPECT_TRUE(content.isAlike);
    EXPECT_TRUE(content.voxels == bits);

    static_cast<unsigned char*>(read.image->getVoxels())[random() % (layout.cols * layout.rows)] = 2;
    saveAgain(again, read);
    EXPECT_EQ(readTiff(again).layout.bits, 8);
    EXPECT_TRUE(readTiff(again).voxels == getVoxelBytes(*read.image));
  }
}

TEST_F(TiffPicture, TheDescribedShapeCountsSamples) {
  struct Case {
    bool isPlanar;
    char const* shape;
    pxl::ImageSizes sizes;
  };
  for (Case const& expected :
       {Case{false, "[3, 2, 4, 5, 3]", {5, 4, 2, 3, 3}}, Case{true, "[3, 2, 3, 4, 5]", {5, 4, 2, 3, 3}},
        Case{false, "[6, 4, 5, 3]", {5, 4, 6, 1, 3}}, Case{true, "[6, 3, 4, 5]", {5, 4, 6, 1, 3}},
        // Not of these pages.
        Case{false, "[3, 2, 4, 5]", {5, 4, 6, 1, 3}}, Case{true, "[3, 2, 4, 5, 3]", {5, 4, 6, 1, 3}},
        Case{false, "[3]", {5, 4, 6, 1, 3}}, Case{true, "[4, 5]", {5, 4, 6, 1, 3}},
        Case{false, "[3, 3, 4, 5, 3]", {5, 4, 6, 1, 3}}}) {
    SCOPED_TRACE(expected.shape + std::string(expected.isPlanar ? " planar" : ""));
    TiffLayout layout = makeRgbLayout(5, 4, 6);
    layout.isPlanar = expected.isPlanar;
    layout.description = std::string("{\"shape\": ") + expected.shape + "}";
    std::string const voxels = makeNoise(random, 360);
    writeTiff(path, layout, voxels);
    auto const read = qorn::io::readImage(path);
    EXPECT_EQ(read.image->getSizes(), expected.sizes);
    EXPECT_TRUE(getVoxelBytes(*read.image) == toImage(layout, voxels));
    saveAgain(again, read);
    EXPECT_EQ(qorn::io::readImageHeader(again).sizes, expected.sizes);
    EXPECT_TRUE(readTiff(again).voxels == voxels);
  }
  TiffLayout layout = makeRgbLayout(5, 4, 6);
  layout.description = "{\"shape\": [1, 1, 6, 4, 5, 3]}";
  writeTiff(path, layout, std::string(360, 'x'));
  expectHeaderFault(path, "6 dimensions");
}

TEST_F(TiffPicture, PagesOfOtherSamplesAreRefused) {
  TiffLayout first = makeRgbLayout(5, 4);
  TiffLayout fewer = first;
  fewer.samples = 1;
  fewer.photometric = 1;
  TiffLayout grey = first;
  grey.photometric = 1;
  grey.extra = {0, 0};
  TiffLayout bits = fewer;
  bits.bits = 1;
  for (TiffLayout second : {fewer, grey, bits}) {
    writeTiff(path, first, std::string(60, 'x'));
    second.mode = "a";
    writeTiff(path, second, std::string(60, 'x'));
    expectHeaderFault(path, "page 2: has another size or voxel type than the first page, or other samples");
  }
  writeTiff(path, fewer, std::string(20, 'x'));
  bits.mode = "a";
  writeTiff(path, bits, std::string(20, 'x'));
  expectHeaderFault(path, "page 2: has another size or voxel type than the first page, or other samples");
}

/** The ways to store samples may change from page to page. */
TEST_F(TiffPicture, PagesMayBePlanarOrNot) {
  TiffLayout layout = makeRgbLayout(5, 4);
  std::string const first = makeNoise(random, 60);
  writeTiff(path, layout, first);
  layout.mode = "a";
  layout.isPlanar = true;
  std::string const second = makeNoise(random, 60);
  writeTiff(path, layout, second);
  std::string const planes = toPlanes(first, 3, 1);
  std::string expected;
  for (unsigned long s = 0; s < 3; ++s) expected += planes.substr(20 * s, 20) + second.substr(20 * s, 20);
  EXPECT_TRUE(getVoxelBytes(*qorn::io::readImage(path).image) == expected);
}

TEST_F(TiffPicture, DamageIsAnErrorOrAnImage) {
  for (int round = 0; round < 12; ++round) {
    TiffLayout layout = makeTiffLayout(19, 17, 2);
    layout.tile = round % 2 == 0 ? 16 : 0;
    layout.compression = std::vector<int>{1, 5, 8}[static_cast<std::size_t>(round) % 3];
    layout.isPlanar = round % 4 < 2;
    layout.samples = round < 9 ? 4 : 1;
    layout.photometric = round < 9 ? 2 : 0;
    if (round < 9) layout.extra = {2};
    layout.bits = round < 9 ? 8 : 1;
    SCOPED_TRACE(describe(layout));
    writeTiff(path, layout, makeNoise(random, 19 * 17 * 8));
    expectCutsRefused(path, 7);
    auto const damage = [this](std::string& bytes) {
      // Directories are at the end of such files, and damage there is the worst.
      bytes[bytes.size() - 1 - random() % std::min<std::size_t>(bytes.size(), 400)] = static_cast<char>(random());
      bytes[random() % bytes.size()] = static_cast<char>(random());
    };
    EXPECT_GT(countRefused(path, 400, damage), 0);
  }
}

}  // namespace
