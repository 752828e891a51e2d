// Parts of a result: cut out as a file of their own, or written into a file that is there.
#include <nlohmann/json.hpp>

#include "support/Files.h"
#include "support/Nifti.h"
#include "support/Npy.h"
#include "support/Png.h"
#include "support/Qorn.h"

namespace {

using namespace test;

constexpr unsigned long cCols = 17, cRows = 13, cPlans = 5;

/** The part of a packed volume; begin and end of columns, rows and plans. */
std::vector<unsigned short> cut(std::vector<unsigned short> const& voxels, std::vector<unsigned long> const& box) {
  std::vector<unsigned short> part;
  for (unsigned long p = box[4]; p < box[5]; ++p)
    for (unsigned long r = box[2]; r < box[3]; ++r)
      for (unsigned long c = box[0]; c < box[1]; ++c) part.push_back(voxels[(p * cRows + r) * cCols + c]);
  return part;
}

class Windows : public ::testing::Test {
 protected:
  Windows() { writeFile(input, makeNpy("<u2", "(5, 13, 17)", makeValues<unsigned short>(cCols * cRows * cPlans))); }

  Outcome run(std::vector<std::string> const& command, std::string const& from, std::string const& to,
              std::vector<std::string> const& more = {}) const {
    std::vector<std::string> arguments{"run", command[0], from, to};
    arguments.insert(arguments.end(), command.begin() + 1, command.end());
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runQorn(arguments);
  }
  std::vector<unsigned short> getVoxels(std::string const& path) const {
    std::string const bytes = readFile(path);
    std::vector<unsigned short> voxels((bytes.size() - 128) / 2);
    std::memcpy(voxels.data(), bytes.data() + 128, voxels.size() * 2);
    return voxels;
  }

  TempFolder folder;
  std::string input = folder / "input.npy", output = folder / "output.npy", whole = folder / "whole.npy";
  std::vector<std::vector<std::string>> commands{{"Dilation3d", "numberOfIterations=2"},
                                                 {"ErosionLine2d", "lineSize=6", "lineAngle=30"},
                                                 {"FiniteImpulseResponseFilter3D", "kernel=1 2 1; 2 4 2; 1 2 1"},
                                                 {"LogicalOperationWithValue", "value=255"}};
};

TEST_F(Windows, CropIsThatPartOfTheWhole) {
  for (auto const& command : commands) {
    SCOPED_TRACE(command[0]);
    ASSERT_EQ(run(command, input, whole).exitCode, 0);
    auto const expected = getVoxels(whole);
    Outcome const outcome = run(command, input, output, {"--crop", "3:12,5:7,1:4"});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_EQ(readFile(output), makeNpy("<u2", "(3, 2, 9)", cut(expected, {3, 12, 5, 7, 1, 4})));
    // Axes and ends that are left out; on disk.
    ASSERT_EQ(run(command, input, output, {"--crop=:,12:", "--on-disk"}).exitCode, 0);
    EXPECT_EQ(readFile(output), makeNpy("<u2", "(5, 1, 17)", cut(expected, {0, 17, 12, 13, 0, 5})));
  }
}

TEST_F(Windows, CropMeasuresThePart) {
  Outcome const outcome =
      runQorn({"run", "IntensityExtrema", input, "analysisDimensions=1", "--crop", "3:12,5:7,1:4", "--json"});
  ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
  auto const voxels = cut(getVoxels(input), {3, 12, 5, 7, 1, 4});
  auto const minima = nlohmann::json::parse(outcome.out)["minimum"];
  ASSERT_EQ(minima.size(), 3u);
  for (unsigned long p = 0; p < 3; ++p) {
    auto const begin = voxels.begin() + static_cast<long>(p * 18);
    EXPECT_EQ(minima[p][0][0].get<double>(), *std::min_element(begin, begin + 18));
  }
}

TEST_F(Windows, CropTakesSequenceAndChannels) {
  std::string const many = folder / "many.npy";
  auto const values = makeValues<unsigned char>(2 * 3 * 4 * 5 * 6);
  writeFile(many, makeNpy("|u1", "(2, 3, 4, 5, 6)", values));
  ASSERT_EQ(run({"Dilation2d", "numberOfIterations=0"}, many, output, {"--crop", ":,:,:,1:3,1:2"}).exitCode, 0);
  EXPECT_EQ(readFile(output).substr(0, 128), makeNpyHeader(makeNpyDictionary("|u1", "(1, 2, 4, 5, 6)")));
  ASSERT_EQ(
      run({"LogicalOperationWithValue", "value=0", "logicalOperator=1"}, many, output, {"--crop", ":,:,2:3,1:3,1:2"})
          .exitCode,
      0);
  std::vector<unsigned char> expected;
  for (unsigned long t = 1; t < 3; ++t)
    for (unsigned long i = 0; i < 30; ++i) expected.push_back(values[((3 + t) * 4 + 2) * 30 + i]);
  EXPECT_EQ(readFile(output), makeNpy("|u1", "(1, 2, 1, 5, 6)", expected));
}

TEST_F(Windows, CropKeepsThePlaceInSpace) {
  std::string const volume = folder / "volume.nii", part = folder / "part.nii";
  NiftiStart start({6, 5, 4, 3}, 2, 8);
  start.put(cNiftiPixdim, 1.0f).put(cNiftiPixdim + 4, 2.0f).put(cNiftiPixdim + 8, 3.0f).put(cNiftiPixdim + 12, 4.0f);
  start.put(cNiftiPixdim + 16, 0.5f);
  start.put(cNiftiQformCode, short(1)).put(cNiftiSformCode, short(2));
  // Half a turn about z: x and y change their sign.
  float const quaternion[] = {0, 0, 1, 10, 20, 30};
  float const rows[] = {0, 2, 0, 5, 3, 0, 0, 6, 0, 0, -4, 7};
  for (std::size_t i = 0; i < 6; ++i) start.put(cNiftiQuaternion + 4 * i, quaternion[i]);
  for (std::size_t i = 0; i < 12; ++i) start.put(cNiftiRowX + 4 * i, rows[i]);
  writeFile(volume, start.getBytes() + toBytes(makeValues<unsigned char>(360)));
  ASSERT_EQ(run({"Dilation2d"}, volume, part, {"--crop", "2:6,1:5,3:4,1:2"}).exitCode, 0);
  NiftiContent const content = readNifti(part);
  EXPECT_EQ(content.sizes, (std::vector<int>{4, 4, 1, 1}));
  EXPECT_EQ(content.quaternion, (std::vector<float>{0, 0, 1, 10 - 2 * 2, 20 - 1 * 3, 30 + 3 * 4}));
  EXPECT_EQ(content.rows, (std::vector<float>{0, 2, 0, 5 + 2, 3, 0, 0, 6 + 6, 0, 0, -4, 7 - 12}));
}

TEST_F(Windows, CropOfAPictureIsAPicture) {
  std::string const picture = folder / "picture.png", part = folder / "part.png";
  auto const values = makeValues<unsigned char>(6 * 5 * 3);
  std::string const pixels = toBytes(values);
  writePng(picture, 6, 5, 8, 2, pixels);
  std::vector<std::string> const copy{"LogicalOperationWithValue", "value=0", "logicalOperator=1"};
  ASSERT_EQ(run(copy, picture, part, {"--crop", "2:4,1:2"}).exitCode, 0);
  EXPECT_EQ(readPng(part).colour, 2);
  EXPECT_EQ(readPng(part).rowBytes, pixels.substr((6 + 2) * 3, 6));
  // One channel is grey; two are an image of more dimensions than a PNG has.
  ASSERT_EQ(run(copy, picture, part, {"--crop", "2:4,1:2,:,:,1:2"}).exitCode, 0);
  EXPECT_EQ(readPng(part).colour, 0);
  EXPECT_EQ(readPng(part).rowBytes, (std::string{pixels[(6 + 2) * 3 + 1], pixels[(6 + 3) * 3 + 1]}));
  expectFailure(run(copy, picture, part, {"--crop", ":,:,:,:,0:2"}), 1, part, "5-D");
  ASSERT_EQ(run(copy, picture, output, {"--crop", "2:4,1:2,:,:,0:2"}).exitCode, 0);
  EXPECT_EQ(readFile(output), makeNpy("|u1", "(2, 1, 1, 1, 2)",
                                      std::vector<unsigned char>{values[24], values[27], values[25], values[28]}));
}

TEST_F(Windows, AreWrittenIntoAFileThatIsThere) {
  for (auto const& command : commands) {
    SCOPED_TRACE(command[0]);
    ASSERT_EQ(run(command, input, whole).exitCode, 0);
    std::vector<unsigned short> const old(cCols * cRows * cPlans, 4711);
    writeFile(output, makeNpy("<u2", "(5, 13, 17)", old));
    Outcome const outcome = run(command, input, output, {"--window", "3:12,5:7,1:4"});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.out + outcome.err, "");
    auto expected = old;
    auto const result = getVoxels(whole);
    for (unsigned long i = 0; i < expected.size(); ++i) {
      unsigned long const c = i % cCols, r = i / cCols % cRows, p = i / cCols / cRows;
      if (c >= 3 && c < 12 && r >= 5 && r < 7 && p >= 1 && p < 4) expected[i] = result[i];
    }
    EXPECT_EQ(getVoxels(output), expected);
    // The parts together are the whole.
    for (char const* window : {":8", "8:,:6", "8:,6:,:2", "8:,6:,2:"})
      ASSERT_EQ(run(command, input, output, {"--window", window}).exitCode, 0);
    EXPECT_EQ(readFile(output), readFile(whole));
  }
}

TEST_F(Windows, OfOneFileAreWrittenAtTheSameTime) {
  ASSERT_EQ(run(commands[0], input, whole).exitCode, 0);
  writeFile(output, makeNpy("<u2", "(5, 13, 17)", std::vector<unsigned short>(cCols * cRows * cPlans)));
  std::vector<std::unique_ptr<Program>> jobs;
  for (unsigned long p = 0; p < cPlans; ++p) {
    std::string const window = ":,:," + std::to_string(p) + ":" + std::to_string(p + 1);
    jobs.push_back(std::make_unique<Program>(
        QORN_PROGRAM,
        std::vector<std::string>{"run", "Dilation3d", input, output, commands[0][1], "--window", window},
        Program::Options()));
  }
  for (auto const& job : jobs) EXPECT_EQ(job->wait().exitCode, 0);
  EXPECT_EQ(readFile(output), readFile(whole));
}

TEST_F(Windows, AreRefusedWhereTheyCannotBe) {
  auto const expectUsage = [&](std::vector<std::string> const& options, std::string const& what,
                               std::string const& why) {
    expectFailure(run({"Dilation2d"}, input, output, options), 2, what, why);
    EXPECT_FALSE(exists(output));
  };
  for (char const* text : {"3", "a:b", "1:2:3", "-1:2", "1:2,", "1:2,,3:4", ":,:,:,:,:,:", " 1:2", "0x1:2"})
    expectUsage({std::string("--crop=") + text}, std::string("--crop ") + text, "must be ranges");
  expectUsage({"--crop=5:5"}, "--crop 5:5", "is empty");
  expectUsage({"--crop=:,7:3"}, "--crop :,7:3", "is empty");
  expectUsage({"--crop=0:18"}, "--crop 0:18", "beyond the image, whose columns end at 17");
  expectUsage({"--crop=:,13:"}, "--crop :,13:", "beyond the image, whose rows end at 13");
  expectUsage({"--crop=:,:,:,0:2"}, "--crop :,:,:,0:2", "beyond the image, whose sequence end at 1");
  expectUsage({"--crop=0:99999999999999999999"}, "--crop 0:99999999999999999999", "must be ranges");
  expectUsage({"--crop=1:2", "--in-place"}, "--crop", "--in-place");
  expectUsage({"--window=1:2", "--in-place"}, "--window", "--in-place");
  expectUsage({"--window=1:2", "--crop=1:2"}, "--window", "--crop");
  expectUsage({"--window=1:2", "--no-clobber"}, "--window", "--no-clobber");
  expectUsage({"--window=1:18"}, "--window 1:18", "beyond the image");
  expectFailure(runQorn({"run", "IntensityExtrema", input, "--window=1:2"}), 2, "--window", "no output image");

  std::vector<std::string> const window{"--window=1:2"};
  auto const expectFileFault = [&](std::string const& path, std::string const& why,
                                   std::vector<std::string> const& options) {
    std::string const before = exists(path) ? readFile(path) : "";
    expectFailure(run({"Dilation2d"}, input, path, options), 1, path, why);
    EXPECT_EQ(exists(path) ? readFile(path) : "", before);
  };
  expectFileFault(output, "No such file", window);
  expectFileFault(folder / "output.tif", "only parts of .npy files", window);
  writeFile(output, makeNpy("<u2", "(5, 12, 17)", std::vector<unsigned short>(1020)));
  expectFileFault(output, "has 12 rows, the input 13", window);
  writeFile(output, makeNpy(">u2", "(5, 13, 17)", std::vector<unsigned short>(1105)));
  expectFileFault(output, "big-endian", window);
  writeFile(output, makeNpy("<u2", "(5, 13, 17)", std::vector<unsigned short>(1105)));
  expectFileFault(output, "is of type uint16, not uint8", {"--window=1:2", "--output-type=uint8"});
  // The result would be read as input by the next part.
  expectFailure(run({"Dilation2d"}, input, input, window), 1, "Dilation2d", "outputImage overlaps inputImage");
  EXPECT_EQ(run({"Dilation2d"}, input, output, window).exitCode, 0);
}

TEST_F(Windows, SayWhenNothingIsWritten) {
  Outcome const outcome = run({"FiniteImpulseResponseFilter2D", "kernel=1 2"}, input, output, {"--crop=:,:,2:4"});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_NE(outcome.err.find("no plan of this part"), std::string::npos) << outcome.err;
}

}  // namespace
