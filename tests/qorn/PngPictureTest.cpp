#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/Pictures.h"
#include "support/Png.h"
#include "support/Reading.h"

namespace {

using namespace test;

class PngPicture : public ::testing::Test {
 protected:
  unsigned int pickSize(unsigned int max) { return 1 + static_cast<unsigned int>(random() % max); }

  std::mt19937 random{20};
  TempFolder folder;
  std::string path = folder / "image.png";
  std::string again = folder / "again.png";
};

TEST_F(PngPicture, SamplesAreTheSpectralSeriesAndComeBack) {
  struct Kind {
    int colour;
    unsigned long nbSamples;
  };
  for (int round = 0; round < 60; ++round) {
    Kind const kind = std::vector<Kind>{{2, 3}, {4, 2}, {6, 4}}[random() % 3];
    int const bits = random() % 2 == 0 ? 8 : 16;
    bool const isInterlaced = random() % 2 == 0;
    unsigned int const cols = pickSize(40);
    unsigned int const rows = pickSize(40);
    unsigned long const voxelBytes = static_cast<unsigned long>(bits) / 8;
    std::string const pixels = makeNoise(random, cols * rows * kind.nbSamples * voxelBytes);
    SCOPED_TRACE(std::to_string(kind.colour) + ", " + std::to_string(bits) + " bits, " + std::to_string(cols) +
                 " x " + std::to_string(rows) + (isInterlaced ? ", interlaced" : ""));
    writePng(path, cols, rows, bits, kind.colour, pixels, isInterlaced);

    auto const read = qorn::io::readImage(path);
    EXPECT_EQ(read.header.rank, 5);
    EXPECT_EQ(read.image->getVoxelType(), bits == 8 ? pxl::cUnsignedInteger8 : pxl::cUnsignedInteger16);
    EXPECT_EQ(read.image->getSizes(), (pxl::ImageSizes{cols, rows, 1, 1, kind.nbSamples}));
    std::string const planes = toPlanes(pixels, kind.nbSamples, voxelBytes);
    EXPECT_EQ(getVoxelBytes(*read.image), bits == 16 ? swapBytes(planes, 2) : planes);

    saveAgain(again, read);
    PngContent const content = readPng(again);
    EXPECT_EQ(content.colour, kind.colour);
    EXPECT_EQ(content.bits, bits);
    EXPECT_EQ(content.cols, cols);
    EXPECT_EQ(content.rows, rows);
    EXPECT_EQ(content.rowBytes, pixels);
  }
}

TEST_F(PngPicture, BitsAreZeroAndOneAndComeBack) {
  for (int round = 0; round < 60; ++round) {
    unsigned int const cols = pickSize(40);
    unsigned int const rows = pickSize(20);
    bool const isInterlaced = random() % 2 == 0;
    std::string const bits = makeNoise(random, (cols + 7) / 8 * rows);
    SCOPED_TRACE(std::to_string(cols) + " x " + std::to_string(rows) + (isInterlaced ? ", interlaced" : ""));
    writePng(path, cols, rows, 1, 0, bits, isInterlaced);

    auto const read = qorn::io::readImage(path);
    EXPECT_EQ(read.header.rank, 2);
    EXPECT_EQ(read.image->getVoxelType(), pxl::cUnsignedInteger8);
    EXPECT_EQ(read.image->getSizes(), (pxl::ImageSizes{cols, rows, 1, 1, 1}));
    EXPECT_EQ(getVoxelBytes(*read.image), toVoxels(bits, cols));

    saveAgain(again, read);
    EXPECT_EQ(readPng(again).bits, 1);
    EXPECT_EQ(clearRest(readPng(again).rowBytes, cols), clearRest(bits, cols));

    // Any other value takes the bits of the type.
    static_cast<unsigned char*>(read.image->getVoxels())[random() % (cols * rows)] = 2;
    saveAgain(again, read);
    EXPECT_EQ(readPng(again).bits, 8);
    EXPECT_EQ(readPng(again).rowBytes, getVoxelBytes(*read.image));
  }
}

TEST_F(PngPicture, PalettesAreRefusedWithAWayOut) {
  for (int const bits : {1, 8}) {
    writePng(path, 8, 2, bits, 3, std::string(bits == 1 ? 2 : 16, '\1'));
    expectHeaderFault(path, "has a palette: its voxels are colour numbers, not values; convert it to grey or RGB");
  }
}

TEST_F(PngPicture, DamageIsAnErrorOrAnImage) {
  struct Kind {
    int bits;
    int colour;
    unsigned int rowBytes;
  };
  for (Kind const& kind : {Kind{8, 2, 39}, Kind{16, 6, 104}, Kind{8, 4, 26}, Kind{1, 0, 2}}) {
    for (bool const isInterlaced : {false, true}) {
      writePng(path, 13, 11, kind.bits, kind.colour, makeNoise(random, kind.rowBytes * 11), isInterlaced);
      expectCutsRefused(path, 3);
      auto const damage = [this](std::string& bytes) {
        bytes[random() % bytes.size()] = static_cast<char>(random());
      };
      EXPECT_GT(countRefused(path, 100, damage), 50);
    }
  }
}

TEST_F(PngPicture, OtherSamplesAreRefused) {
  auto const getFault = [this](qorn::io::ImageHeader const& header) {
    return getFileFault(again, [&] { qorn::io::OutputImage const output(again, header, {}); });
  };
  using qorn::io::ExtraSamples;
  auto const make = [](std::vector<unsigned long> const& shape, bool isColour,
                       std::vector<ExtraSamples> const& extra) {
    qorn::io::Picture picture;
    picture.isColour = isColour;
    picture.extra = extra;
    return qorn::io::makeHeader("test", pxl::cUnsignedInteger8, shape, false, picture);
  };
  EXPECT_EQ(getFault(make({3, 4}, true, {ExtraSamples::cAlpha})), "");
  EXPECT_EQ(getFault(make({3, 4}, false, {ExtraSamples::cAlpha})), "");
  EXPECT_EQ(getFault(make({3, 4}, true, {ExtraSamples::cPremultipliedAlpha})),
            "PNG holds grey or RGB, with or without alpha, this picture has red, green, blue, premultiplied alpha");
  EXPECT_EQ(getFault(make({3, 4}, false, {ExtraSamples::cUnknown})),
            "PNG holds grey or RGB, with or without alpha, this picture has grey, unknown");
  EXPECT_EQ(getFault(make({3, 4}, false, {ExtraSamples::cAlpha, ExtraSamples::cAlpha})),
            "PNG holds grey or RGB, with or without alpha, this picture has grey, alpha, alpha");
  EXPECT_EQ(getFault(make({2, 3, 4}, true, {})),
            "PNG holds 2-D images of uint8 and uint16, this one is 5-D of uint8");
  EXPECT_EQ(getFault(make({2, 1, 3, 4}, true, {})),
            "PNG holds 2-D images of uint8 and uint16, this one is 5-D of uint8");
}

}  // namespace
