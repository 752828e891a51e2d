#include <nlohmann/json.hpp>

#include "support/Files.h"
#include "support/Npy.h"
#include "support/Qorn.h"

namespace {

using namespace test;
using Json = nlohmann::json;

/** Properties whose values have names. */
class Choices : public ::testing::Test {
 protected:
  static std::string show(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "element");
    Outcome const outcome = runQorn(arguments);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    return outcome.out;
  }
  static void expectVoxels(std::string const& shape, std::string const& property, int count) {
    for (char const* operation : {"Dilation", "Erosion"}) {
      std::string const text = show({operation + shape, property});
      EXPECT_EQ(text.rfind(operation + shape + ": " + std::to_string(count) + " voxels ", 0), 0u) << text;
    }
  }
  std::string measure(std::string const& dimensions) const {
    writeFile(image, makeNpy("<u2", "(2, 3, 2, 5, 4)", makeValues<unsigned short>(240)));
    Outcome const outcome = runQorn({"run", "IntensityExtrema", image, "analysisDimensions=" + dimensions});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    return outcome.out;
  }

  TempFolder folder;
  std::string image = folder / "image.npy", output = folder / "output.npy";
};

TEST_F(Choices, NeighbourhoodsAreNamed) {
  expectVoxels("2d", "neighborhood=cross", 5);
  expectVoxels("2d", "neighborhood=square", 9);
  expectVoxels("2d", "neighborhood=-3", 9);
  expectVoxels("3d", "neighborhood=faces", 7);
  expectVoxels("3d", "neighborhood=edges", 19);
  expectVoxels("3d", "neighborhood=cube", 27);
  expectVoxels("3d", "neighborhood=6", 27);
}

TEST_F(Choices, ShapeModesAreNamed) {
  for (char const* shape : {"DilationDisk2d", "ErosionBall3d"}) {
    std::string const fast = show({shape, "radius=5", "shapeMode=fast"});
    std::string const exact = show({shape, "radius=5", "shapeMode=exact"});
    EXPECT_EQ(fast, show({shape, "radius=5", "shapeMode=0"}));
    EXPECT_EQ(exact, show({shape, "radius=5", "shapeMode=1"}));
    EXPECT_NE(fast, exact);
  }
}

TEST_F(Choices, LogicalOperatorsAreNamed) {
  writeFile(image, makeNpy("|u1", "(1, 1)", std::vector<unsigned char>{0xCC}));
  std::vector<std::pair<std::string, unsigned char>> const table{
      {"and", 0x88}, {"or", 0xEE}, {"xor", 0x66}, {"nand", 0x77}, {"nor", 0x11}, {"nxor", 0x99}, {"andnot", 0x44}};
  for (auto const& [name, result] : table) {
    Outcome const outcome =
        runQorn({"run", "LogicalOperationWithValue", image, output, "value=170", "logicalOperator=" + name});
    EXPECT_EQ(outcome.err, "");
    EXPECT_TRUE(readFile(output) == makeNpy("|u1", "(1, 1)", std::vector<unsigned char>{result})) << name;
  }
}

TEST_F(Choices, AnalysisDimensionsAreNamesWithCommas) {
  EXPECT_EQ(measure("none"), measure("0"));
  EXPECT_EQ(measure("plans"), measure("1"));
  EXPECT_EQ(measure("spectral"), measure("2"));
  EXPECT_EQ(measure("sequence"), measure("4"));
  EXPECT_EQ(measure("plans,sequence"), measure("5"));
  EXPECT_EQ(measure("sequence,plans"), measure("5"));
  EXPECT_EQ(measure("spectral,plans,sequence"), measure("7"));
  EXPECT_NE(measure("plans"), measure("sequence"));
  EXPECT_NE(measure("spectral"), measure("sequence"));
}

TEST_F(Choices, UnknownNamesAreRefused) {
  auto const expectRefused = [this](std::string const& operatorName, std::string const& property,
                                    std::string const& why) {
    expectFailure(runQorn({"run", operatorName, image, output, property}), 2, property, why);
  };
  expectRefused("Dilation2d", "neighborhood=sqare",
                "not a number of type integer, nor one of cross, square; the nearest is square");
  expectRefused("Dilation2d", "neighborhood=cube", "nor one of cross, square");
  expectRefused("Erosion3d", "neighborhood=Cube", "nor one of faces, edges, cube; the nearest is cube");
  expectRefused("DilationBall3d", "shapeMode=fast,exact", "nor one of fast, exact");
  expectRefused("LogicalOperationWithImage", "logicalOperator=", "nor one of and, or, xor, nand, nor, nxor, andnot");
  for (std::string const text : {"plan", "plans,", ",plans", "plans, sequence", "plans,4", "plans;sequence"})
    expectRefused("IntensityExtrema", "analysisDimensions=" + text,
                  "nor comma-separated names of none, plans, sequence, spectral");
  expectRefused("Dilation2d", "neighborhood=2147483648", "out of range");
  expectRefused("Dilation2d", "numberOfIterations=cross", "not a number of type unsigned integer\n");
}

TEST_F(Choices, AreDescribed) {
  Json const square =
      Json::parse(runQorn({"operators", "Dilation2d", "--json"}).out)["operators"][0]["properties"][2];
  EXPECT_EQ(square["name"], "neighborhood");
  EXPECT_EQ(square["default"], 1);
  ASSERT_EQ(square["choices"].size(), 2u);
  EXPECT_EQ(square["choices"][0]["name"], "cross");
  EXPECT_EQ(square["choices"][0]["value"], 0);
  EXPECT_EQ(square["choices"][1]["name"], "square");
  EXPECT_EQ(square["choices"][1]["value"], 1);
  EXPECT_EQ(square["combinable"], false);
  Json const parts =
      Json::parse(runQorn({"operators", "IntensityExtrema", "--json"}).out)["operators"][0]["properties"];
  EXPECT_EQ(parts[0].count("choices"), 0u);
  EXPECT_EQ(parts[1]["combinable"], true);
  std::string const text = runQorn({"operators", "Dilation2d"}).out;
  EXPECT_NE(text.find("\nneighborhood        integer           square    which neighbours"), std::string::npos)
      << text;
  EXPECT_NE(text.find("\n  =cross            0                           the 4 neighbours"), std::string::npos)
      << text;
  std::string const measuring = runQorn({"operators", "IntensityExtrema"}).out;
  EXPECT_NE(measuring.find(" none "), std::string::npos) << measuring;
  EXPECT_NE(measuring.find(" several names are separated by commas"), std::string::npos) << measuring;
}

}  // namespace
