#include <nlohmann/json.hpp>

#include "support/Files.h"
#include "support/Npy.h"
#include "support/Png.h"
#include "support/Qorn.h"
#include "support/Tiff.h"

namespace {

using namespace test;
using Json = nlohmann::json;

class Info : public ::testing::Test {
 protected:
  Info() {
    writeFile(npy, makeNpy("<f4", "(2, 3, 4)", makeValues<float>(24)));
    writePng(png, 5, 6, 16, 0, std::string(60, 'x'));
    TiffLayout layout = makeTiffLayout(4, 3, 6);
    layout.format = 2;
    layout.description = "{\"shape\": [3, 2, 3, 4]}";
    writeTiff(tiff, layout, std::string(72, 'x'));
  }

  TempFolder folder;
  std::string npy = folder / "image.npy";
  std::string png = folder / "image.png";
  std::string tiff = folder / "image.tiff";
};

TEST_F(Info, OneLineForEachImage) {
  Outcome const outcome = runQorn({"info", npy, png, tiff});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.out, npy + ": float32, columns 4, rows 3, plans 2, npy\n" + png +
                             ": uint16, columns 5, rows 6, png, compressed\n" + tiff +
                             ": int8, columns 4, rows 3, plans 2, sequence 3, tiff\n");
}

TEST_F(Info, Json) {
  Outcome const outcome = runQorn({"info", "--json", npy, tiff});
  EXPECT_EQ(outcome.exitCode, 0);
  ::Json const json = ::Json::parse(outcome.out);
  ASSERT_EQ(json.size(), 2u);
  EXPECT_EQ(json[0], ::Json::parse("{\"compressed\": false, \"file\": \"" + npy +
                                   "\", \"format\": \"npy\", \"type\": \"float32\", \"rank\": 3, \"sizes\": "
                                   "{\"columns\": 4, \"rows\": 3, \"plans\": 2, \"sequence\": 1, \"spectral\": 1}}"));
  EXPECT_EQ(json[1]["sizes"]["sequence"], 3);
  EXPECT_EQ(json[1]["rank"], 4);
}

TEST_F(Info, ABadFileDoesNotHideTheOthers) {
  Outcome const outcome = runQorn({"info", npy, folder / "missing.npy", png});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.err, "qorn: " + folder / "missing.npy" + ": No such file or directory\n");
  EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 2);
}

TEST_F(Info, DoesNotReadVoxels) {
  writeFile(npy, makeNpyHeader(makeNpyDictionary("<f8", "(1000, 1000, 1000, 100)", true)));
  resizeFile(npy, 128 + 800000000000UL);
  Outcome const outcome = runQorn({"info", npy});
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_NE(outcome.out.find("float64, columns 100, rows 1000, plans 1000, sequence 1000"), std::string::npos);
  EXPECT_LT(outcome.processorSeconds, 0.9);
  expectLittleMemory(outcome);
}

}  // namespace
