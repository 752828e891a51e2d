#include <gtest/gtest.h>

#include <numeric>
#include <sstream>

#include "support/Files.h"
#include "support/Npy.h"
#include "support/Qorn.h"

namespace {

using namespace test;

class Element : public ::testing::Test {
 protected:
  static Outcome runElement(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "element");
    return runQorn(arguments);
  }

  // What is printed of the element, without the operator's name.
  static std::string show(std::string const& operatorName, std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), operatorName);
    Outcome const outcome = runElement(arguments);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    std::string const start = operatorName + ": ";
    EXPECT_EQ(outcome.out.rfind(start, 0), 0u) << outcome.out;
    return outcome.out.substr(std::min(outcome.out.size(), start.size()));
  }

  static void expectBoth(std::string const& shape, std::vector<std::string> const& arguments,
                         std::string const& expected) {
    EXPECT_EQ(show("Dilation" + shape, arguments), expected);
    EXPECT_EQ(show("Erosion" + shape, arguments), expected);
  }

  TempFolder folder;
  std::string output = folder / "element.npy";
};

TEST_F(Element, OfPlansIsDrawn) {
  expectBoth("2d", {},
             "9 voxels in 3 columns x 3 rows\n"
             "# # #\n"
             "# O #\n"
             "# # #\n");
  expectBoth("2d", {"neighborhood=0", "numberOfIterations=2"},
             "13 voxels in 5 columns x 5 rows\n"
             ". . # . .\n"
             ". # # # .\n"
             "# # O # #\n"
             ". # # # .\n"
             ". . # . .\n");
  expectBoth("Disk2d", {"radius=2"},
             "21 voxels in 5 columns x 5 rows\n"
             ". # # # .\n"
             "# # # # #\n"
             "# # O # #\n"
             "# # # # #\n"
             ". # # # .\n");
  expectBoth("Disk2d", {"radius=2", "shapeMode=1"},
             "13 voxels in 5 columns x 5 rows\n"
             ". . # . .\n"
             ". # # # .\n"
             "# # O # #\n"
             ". # # # .\n"
             ". . # . .\n");
  expectBoth("Disk2d", {"radius=0", "shapeMode=1"}, "1 voxels in 1 columns x 1 rows\nO\n");
}

// An element of an even size isn't the same when it is seen in a mirror.
TEST_F(Element, IsWhatAVoxelReads) {
  expectBoth("Line2d", {"lineSize=4"}, "4 voxels in 5 columns x 1 rows\n. # O # #\n");
  expectBoth("Line2d", {"lineSize=4", "lineAngle=180"}, "4 voxels in 5 columns x 1 rows\n# # O # .\n");
  expectBoth("Line2d", {"lineSize=4", "lineAngle=90"}, "4 voxels in 1 columns x 5 rows\n#\n#\nO\n#\n.\n");
  expectBoth("Line2d", {"lineSize=4", "lineAngle=45"},
             "4 voxels in 5 columns x 5 rows\n"
             ". . . . #\n"
             ". . . # .\n"
             ". . O . .\n"
             ". # . . .\n"
             ". . . . .\n");
  expectBoth("Line3d", {"lineSize=2", "secondAngle=90"},
             "2 voxels in 1 columns x 1 rows x 3 plans\nplan -1\n.\nplan 0\nO\nplan 1\n#\n");
  expectBoth("Line3d", {"lineSize=2", "firstAngle=90", "secondAngle=45"},
             "2 voxels in 1 columns x 3 rows x 3 plans\n"
             "plan -1\n.\n.\n.\n"
             "plan 0\n.\nO\n.\n"
             "plan 1\n#\n.\n.\n");
}

TEST_F(Element, OfVolumesIsDrawnPlanByPlan) {
  std::string const seven =
      "7 voxels in 3 columns x 3 rows x 3 plans\n"
      "plan -1\n. . .\n. # .\n. . .\n"
      "plan 0\n. # .\n# O #\n. # .\n"
      "plan 1\n. . .\n. # .\n. . .\n";
  expectBoth("Ball3d", {"shapeMode=1"}, seven);
  expectBoth("3d", {"neighborhood=0"}, seven);
  std::string const cube =
      "27 voxels in 3 columns x 3 rows x 3 plans\n"
      "plan -1\n# # #\n# # #\n# # #\n"
      "plan 0\n# # #\n# O #\n# # #\n"
      "plan 1\n# # #\n# # #\n# # #\n";
  expectBoth("Ball3d", {}, cube);
  expectBoth("3d", {}, cube);
  // Without angles the normal is along the columns: one column, and no elevation.
  expectBoth("Disk3d", {},
             "5 voxels in 1 columns x 3 rows x 3 plans\n"
             "plan -1\n.\n#\n.\n"
             "plan 0\n#\nO\n#\n"
             "plan 1\n.\n#\n.\n");
  expectBoth("Disk3d", {"secondAngle=90"}, "5 voxels in 3 columns x 3 rows\n. # .\n# O #\n. # .\n");
}

TEST_F(Element, IsSavedAsAMask) {
  for (std::string const name : {"Dilation", "Erosion"}) {
    EXPECT_EQ(show(name + "Line2d", {"lineSize=4", "--output", output}), "4 voxels in 5 columns x 1 rows\n");
    EXPECT_EQ(readFile(output), makeNpy("|u1", "(1, 5)", std::vector<unsigned char>{0, 1, 1, 1, 1}));
    // An operator of volumes has a mask of three dimensions also when it has one plan.
    EXPECT_EQ(show(name + "Line3d", {"lineSize=4", "--output", output}), "4 voxels in 5 columns x 1 rows\n");
    EXPECT_EQ(readFile(output), makeNpy("|u1", "(1, 1, 5)", std::vector<unsigned char>{0, 1, 1, 1, 1}));
    EXPECT_EQ(show(name + "Line3d", {"lineSize=2", "secondAngle=-90", "--output", output}),
              "2 voxels in 1 columns x 1 rows x 3 plans\n");
    EXPECT_EQ(readFile(output), makeNpy("|u1", "(3, 1, 1)", std::vector<unsigned char>{1, 1, 0}));
  }
}

TEST_F(Element, AsALargeMaskHasEveryVoxelWithinTheRadius) {
  std::vector<unsigned char> mask;
  for (long row = -50; row <= 50; ++row)
    for (long col = -50; col <= 50; ++col) mask.push_back(row * row + col * col <= 2500);
  auto const count = std::accumulate(mask.begin(), mask.end(), 0);
  std::string const text = std::to_string(count) + " voxels in 101 columns x 101 rows\n";
  EXPECT_EQ(show("ErosionDisk2d", {"radius=50", "shapeMode=1", "--output", output}), text);
  EXPECT_TRUE(readFile(output) == makeNpy("|u1", "(101, 101)", mask));
  EXPECT_EQ(show("ErosionDisk2d", {"radius=50", "shapeMode=1"}), text + "too large to be drawn; --output saves it\n");
}

TEST_F(Element, ReplacesAFileUnlessToldNotTo) {
  writeFile(output, "old");
  expectFailure(runElement({"DilationDisk2d", "--output", output, "--no-clobber"}), 1, output, "exist");
  EXPECT_EQ(readFile(output), "old");
  show("DilationDisk2d", {"--output", output});
  EXPECT_NE(readFile(output), "old");
  expectFailure(runElement({"DilationDisk2d", "--output", folder / "none/element.npy"}), 1,
                folder / "none/element.npy", "");
}

TEST_F(Element, OfAnOperatorThatDoesNothingIsAnEmptyOne) {
  for (std::string const name : {"DilationDisk2d", "ErosionBall3d"}) {
    Outcome const outcome = runElement({name, "radius=0"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out, name + ": 0 voxels in 1 columns x 1 rows\no\n");
    EXPECT_EQ(outcome.err, "qorn: " + name + ": the fast shape with radius 0 leaves the output image unchanged\n");
  }
  Outcome const outcome = runElement({"Erosion2d", "numberOfIterations=0"});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.out, "Erosion2d: 0 voxels in 1 columns x 1 rows\no\n");
  EXPECT_EQ(outcome.err, "qorn: Erosion2d: with 0 iterations the output image is left unchanged\n");
}

TEST_F(Element, IsAskedForInTheRightWay) {
  for (std::string const name : {"IntensityExtrema", "LogicalOperationWithImage", "FiniteImpulseResponseFilter2D"})
    expectFailure(runElement({name}), 2, name, "has no structuring element");
  expectFailure(runElement({"Dilation4d"}), 2, "Dilation4d", "no such operator");
  expectFailure(runElement({"Dilation2d", "image.npy"}), 2, "image.npy", "expected name=value");
  expectFailure(runElement({"Dilation2d", "image=3"}), 2, "image", "no such property");
  expectFailure(runElement({"DilationDisk2d", "radius=-1"}), 2, "radius=-1", "out of range");
  expectFailure(runElement({"DilationDisk2d", "radius=1", "radius=1"}), 2, "radius", "twice");
  expectFailure(runElement({"DilationLine2d", "radius=1"}), 2, "radius", "no such property");
  expectFailure(runElement({"DilationLine2d", "lineAngle=north"}), 2, "lineAngle=north", "not a number");
  expectFailure(runElement({}), 2, "command line", "OPERATOR");
  expectFailure(runElement({"Dilation2d", "--threads=2"}), 2, "command line", "--threads");
  expectFailure(runElement({"Dilation2d", "--plugin", folder / "none.so"}), 1, "plug-ins", "none.so");
  expectFailure(runElement({"Dilation2d", "--output", folder / "mask.bogus"}), 1, folder / "mask.bogus", "suffix");
  EXPECT_TRUE(listFolder(folder / "").empty());
}

TEST_F(Element, OfAHostileSizeIsRefusedAtOnce) {
  std::string const limit = "a structuring element has at most 1000000 voxels, this one would need ";
  for (std::string const name : {"Dilation", "Erosion"}) {
    for (std::string const line : {"Line2d", "Line3d"})
      expectFailure(runElement({name + line, "lineSize=4000000000", "--output", output}), 1, name + line,
                    limit + "4000000000");
    for (std::string const shape : {"Disk2d", "Ball3d"}) {
      expectFailure(runElement({name + shape, "radius=1000000", "shapeMode=1"}), 1, name + shape, limit + "about ");
      expectFailure(runElement({name + shape, "radius=4000000000", "shapeMode=1"}), 2, name + shape,
                    limit + "about ");
      expectFailure(runElement({name + shape, "radius=4000000000"}), 2, name + shape,
                    "a radius is at most 2147483647");
    }
    expectFailure(runElement({name + "Disk3d", "radius=1000000"}), 1, name + "Disk3d", limit + "about ");
    expectFailure(runElement({name + "Disk3d", "radius=4000000000"}), 2, name + "Disk3d", limit + "about ");
    for (std::string const angle : {"nan", "inf", "-inf", "1e400"})
      expectFailure(runElement({name + "Line2d", "lineAngle=" + angle}), 2, "lineAngle=" + angle,
                    angle == "1e400" ? "out of range" : "must be finite");
  }
  EXPECT_FALSE(exists(output));
}

TEST_F(Element, OfAnySizeIsFoundWithinSecondsOrRefused) {
  struct Case {
    char const* text;
    char const* refusal;
  };
  for (Case const& refused :
       {Case{"DilationBall3d radius=2147483647", "has at most 1000000 voxels"},
        Case{"Erosion2d numberOfIterations=4000000000", "has at most 1000000 voxels"},
        Case{"DilationLine2d lineSize=1000000 lineAngle=1", "is too large to be shown"},
        Case{"ErosionLine3d lineSize=1000 firstAngle=45 secondAngle=40", "too large to be shown"}}) {
    std::vector<std::string> words;
    std::istringstream stream(refused.text);
    for (std::string word; stream >> word;) words.push_back(word);
    expectFailure(runElement(words), 1, words.front(), refused.refusal);
  }
}

TEST_F(Element, NeedsNoPlugin) {
  Program::Options options;
  options.environment = {"PXLWORKS_PLUGIN_DIR=" + folder / ""};
  Outcome const outcome = runQorn({"element", "DilationLine2d", "lineSize=4"}, options);
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "DilationLine2d: 4 voxels in 5 columns x 1 rows\n. # O # #\n");
}

}  // namespace
