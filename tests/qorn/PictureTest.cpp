#include <nlohmann/json.hpp>

#include "support/Files.h"
#include "support/Neighbours.h"
#include "support/Npy.h"
#include "support/Pixels.h"
#include "support/Png.h"
#include "support/Qorn.h"
#include "support/Tiff.h"

namespace {

using namespace test;
using Json = nlohmann::json;

class Pictures : public ::testing::Test {
 protected:
  void run(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "run");
    Outcome const outcome = runQorn(arguments);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.out + outcome.err, "");
  }

  /** A dilation with the square of voxels that lie sample after sample. */
  static std::string dilate(std::string const& planes, long rows, long cols) {
    std::vector<unsigned char> const voxels(planes.begin(), planes.end());
    auto const result = applyStep(voxels, rows, cols, {false, 1});
    return std::string(result.begin(), result.end());
  }

  std::mt19937 random{22};
  TempFolder folder;
  std::string png = folder / "image.png";
  std::string tiff = folder / "image.tif";
  std::string output = folder / "output.png";
};

TEST_F(Pictures, EachChannelIsWorkedOnByItself) {
  std::string const pixels = makeNoise(random, 37 * 21 * 4);
  writePng(png, 37, 21, 8, 6, pixels);
  std::string const expected = dilate(toPlanes(pixels, 4, 1), 21, 37);
  for (std::vector<std::string> const& options : {std::vector<std::string>{}, {"--in-place"}}) {
    std::vector<std::string> arguments{"Dilation2d", png, output, "neighborhood=1"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    run(arguments);
    PngContent const content = readPng(output);
    EXPECT_EQ(content.colour, 6);
    EXPECT_EQ(content.bits, 8);
    EXPECT_EQ(toPlanes(content.rowBytes, 4, 1), expected);
  }
  run({"Dilation2d", png, tiff, "neighborhood=1"});
  TiffContent const content = readTiff(tiff);
  EXPECT_EQ(content.layout.samples, 4);
  EXPECT_EQ(content.layout.photometric, 2);
  EXPECT_EQ(content.layout.extra, std::vector<unsigned short>{2}) << "alpha that is not multiplied";
  EXPECT_EQ(toPlanes(content.voxels, 4, 1), expected);
  run({"Dilation2d", tiff, output, "neighborhood=1", "--output-type", "uint16"});
  EXPECT_EQ(readPng(output).bits, 16);
  EXPECT_EQ(readPng(output).colour, 6);
  run({"Dilation2d", png, folder / "output.npy", "neighborhood=1"});
  EXPECT_EQ(readFile(folder / "output.npy"),
            makeNpy("|u1", "(4, 1, 1, 21, 37)", std::vector<unsigned char>(expected.begin(), expected.end())));
}

TEST_F(Pictures, ExtremaAreTakenPerChannel) {
  writePng(png, 2, 1, 16, 2, toBytes<unsigned short>({1, 20, 300, 4, 50, 600}, true));
  Outcome const outcome = runQorn({"run", "IntensityExtrema", png, "analysisDimensions=2", "--json"});
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  ::Json const json = ::Json::parse(outcome.out);
  EXPECT_EQ(json["minimum"], ::Json::parse("[[[1, 20, 300]]]"));
  EXPECT_EQ(json["maximum"], ::Json::parse("[[[4, 50, 600]]]"));
}

TEST_F(Pictures, InfoNamesSamples) {
  writePng(png, 5, 2, 8, 2, std::string(30, 'x'));
  TiffLayout layout = makeTiffLayout(5, 2);
  layout.samples = 3;
  layout.photometric = 0;
  layout.extra = {1, 0};
  writeTiff(tiff, layout, std::string(30, 'x'));
  std::string const mask = folder / "mask.png";
  writePng(mask, 5, 2, 1, 0, "xy");
  Outcome outcome = runQorn({"info", png, tiff, mask});
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.out,
            png +
                ": uint8, columns 5, rows 2, plans 1, sequence 1, spectral 3 (red, green, blue), png, compressed\n" +
                tiff +
                ": uint8, columns 5, rows 2, plans 1, sequence 1, spectral 3 (grey, premultiplied alpha, unknown), "
                "white is 0, tiff\n" +
                mask + ": uint8, columns 5, rows 2, one bit, png, compressed\n");
  outcome = runQorn({"info", "--json", png, tiff, mask});
  ::Json const json = ::Json::parse(outcome.out);
  EXPECT_EQ(json[0]["samples"], (::Json{"red", "green", "blue"}));
  EXPECT_FALSE(json[0].contains("bits") || json[0].contains("white"));
  EXPECT_EQ(json[1]["samples"], (::Json{"grey", "premultiplied alpha", "unknown"}));
  EXPECT_EQ(json[1]["white"], 0);
  EXPECT_EQ(json[2]["bits"], 1);
  EXPECT_FALSE(json[2].contains("samples"));
}

TEST_F(Pictures, InfoNamesTheFirstOfManySamples) {
  TiffLayout layout = makeTiffLayout(1, 1);
  layout.samples = 200;
  layout.extra = std::vector<unsigned short>(199, 0);
  writeTiff(tiff, layout, std::string(200, 'x'));
  Outcome const outcome = runQorn({"info", tiff});
  EXPECT_NE(
      outcome.out.find("spectral 200 (grey, unknown, unknown, unknown, unknown, unknown, unknown, unknown, ...)"),
      std::string::npos)
      << outcome.out;
}

TEST_F(Pictures, MasksStayMasks) {
  std::string const bits = clearRest(makeNoise(random, 5 * 21), 37);
  std::string const voxels = toVoxels(bits, 37);
  writePng(png, 37, 21, 1, 0, bits);
  TiffLayout layout = makeTiffLayout(37, 21);
  layout.bits = 1;
  layout.photometric = 0;
  writeTiff(tiff, layout, bits);
  std::string const expected = dilate(voxels, 21, 37);

  run({"Dilation2d", png, output, "neighborhood=1"});
  EXPECT_EQ(readPng(output).bits, 1);
  EXPECT_EQ(toVoxels(readPng(output).rowBytes, 37), expected);
  std::string const other = folder / "output.tif";
  run({"Dilation2d", tiff, other, "neighborhood=1", "--interpretation", "binary"});
  EXPECT_EQ(readTiff(other).layout.bits, 1);
  EXPECT_EQ(readTiff(other).layout.photometric, 0) << "white is still 0";
  EXPECT_EQ(toVoxels(readTiff(other).voxels, 37), expected);

  // What isn't 0 and 1, or isn't to have the type of a mask, has the bits of its type.
  run({"LogicalOperationWithValue", png, output, "value=2", "logicalOperator=1"});
  EXPECT_EQ(readPng(output).bits, 8);
  std::string raised = voxels;
  for (char& voxel : raised) voxel = static_cast<char>(voxel | 2);
  EXPECT_EQ(readPng(output).rowBytes, raised);
  run({"Dilation2d", png, output, "--output-type", "uint16"});
  EXPECT_EQ(readPng(output).bits, 16);
  run({"Dilation2d", png, other, "--output-type", "int8"});
  EXPECT_EQ(readTiff(other).layout.bits, 8);
  // And an image of bytes that happen to be 0 and 1 stays one.
  writePng(png, 37, 21, 8, 0, voxels);
  run({"Dilation2d", png, output, "neighborhood=1"});
  EXPECT_EQ(readPng(output).bits, 8);
}

TEST_F(Pictures, JpegIsRefusedByItsContent) {
  std::string const jpeg("\xff\xd8\xff\xe0\0\x10JFIF\0\1\1\0\0\1\0\1\0\0", 20);
  for (std::string const name : {"image.jpg", "image.JPEG", "image.png", "image.tif", "image"}) {
    std::string const path = folder / name;
    writeFile(path, jpeg);
    for (std::vector<std::string> const& command :
         {std::vector<std::string>{"info", path}, {"run", "IntensityExtrema", path}}) {
      expectFailure(runQorn(command), 1, path, "is a JPEG file, which isn't read");
    }
  }
}

}  // namespace
