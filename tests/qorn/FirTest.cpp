#include <fstream>

#include "support/Files.h"
#include "support/Npy.h"
#include "support/Qorn.h"

namespace {

using namespace test;

class Fir : public ::testing::Test {
 protected:
  Fir() {
    writeFile(input, makeNpy("|u1", "(2, 3, 4)", voxels));
    writeFile(plan, makeNpy("<f4", "(2, 3)", std::vector<float>{1, 2, 3, 4, 5, 6}));
  }
  Outcome runFir(std::string const& dimension, std::string const& image,
                 std::vector<std::string> const& arguments) const {
    std::vector<std::string> all{"run", "FiniteImpulseResponseFilter" + dimension, image, output};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return runQorn(all);
  }
  /** The output of a run on the plan. */
  std::string runOnPlan(std::vector<std::string> const& arguments) const {
    Outcome const outcome = runFir("2D", plan, arguments);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.out + outcome.err, "");
    return readFile(output);
  }
  static std::string makePlan(std::vector<float> const& values) { return makeNpy("<f4", "(2, 3)", values); }
  void expectUsage(std::string const& dimension, std::vector<std::string> const& arguments, std::string const& what,
                   std::string const& why) const {
    expectFailure(runFir(dimension, dimension == "2D" ? plan : input, arguments), 2, what, why);
    EXPECT_FALSE(std::ifstream(output).good());
  }

  TempFolder folder;
  std::string input = folder / "input.npy", plan = folder / "plan.npy", output = folder / "output.npy",
              kernel = folder / "kernel.npy";
  std::vector<unsigned char> const voxels = makeValues<unsigned char>(24);
};

TEST_F(Fir, TakesTheKernelAsText) {
  // Neighbours to the left and right, the edge mirrored.
  EXPECT_TRUE(runOnPlan({"kernel=1 0 10"}) == makePlan({22, 31, 22, 55, 64, 55}));
  EXPECT_TRUE(runOnPlan({"kernel= 1  0 10 "}) == makePlan({22, 31, 22, 55, 64, 55}));
  EXPECT_TRUE(runOnPlan({"kernel=0 0 0; 0 -1.5 0; 0 0 0"}) == makePlan({-1.5, -3, -4.5, -6, -7.5, -9}));
  EXPECT_TRUE(runOnPlan({"kernel=0;0;1"}) == makePlan({4, 5, 6, 1, 2, 3}));
  EXPECT_TRUE(runOnPlan({"kernel=1e-1"}) == makePlan({.1f, .2f, 3 * .1f, 4 * .1f, .5f, 6 * .1f}));
  // The larger half of an even size lies before the voxel.
  EXPECT_TRUE(runOnPlan({"kernel=1 0"}) == makePlan({2, 1, 2, 5, 4, 5}));
}

TEST_F(Fir, TakesTheOriginOfTheKernel) {
  EXPECT_TRUE(runOnPlan({"kernel=1 0 0", "--kernel-origin=0,0"}) == makePlan({1, 2, 3, 4, 5, 6}));
  EXPECT_TRUE(runOnPlan({"kernel=1 0 0", "--kernel-origin", "-1,0"}) == makePlan({2, 3, 2, 5, 6, 5}));
  EXPECT_TRUE(runOnPlan({"kernel=0; 1", "--kernel-origin=0,0"}) == makePlan({4, 5, 6, 1, 2, 3}));
  Outcome const outcome =
      runFir("3D", input, {"kernel=0 0 | 0 1", "--kernel-origin=1,0,1", "--quiet", "--output-type=uint8"});
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_TRUE(readFile(output) == readFile(input));
}

TEST_F(Fir, TakesTheKernelFromAFile) {
  writeFile(kernel, makeNpy(">i2", "(1, 3)", std::vector<short>{1, 0, 10}));
  EXPECT_TRUE(runOnPlan({"kernel=" + kernel}) == makePlan({22, 31, 22, 55, 64, 55}));
  writeFile(kernel, makeNpyHeader(makeNpyDictionary("<f8", "(3, 3)", true)) +
                        toBytes(std::vector<double>{0, 1, 0, 0, 0, 0, 0, 10, 0}, false));
  EXPECT_TRUE(runOnPlan({"kernel=" + kernel}) == makePlan({22, 31, 22, 55, 64, 55}));
  writeFile(kernel, makeNpy("<f8", "(2, 1, 1)", std::vector<double>{1, 0}));
  Outcome const outcome = runFir("3D", input, {"kernel=" + kernel});
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  std::vector<unsigned char> swapped(voxels.begin() + 12, voxels.end());
  swapped.insert(swapped.end(), voxels.begin(), voxels.begin() + 12);
  EXPECT_TRUE(readFile(output) == makeNpy("|u1", "(2, 3, 4)", swapped));
}

TEST_F(Fir, InPlaceAndOnDiskGivesTheSame) {
  std::vector<std::string> const arguments{"kernel=.1 .2 .1; .1 .3 .1; -.1 .2 .1 | 0 0 1; .2 0 0; 0 0 0"};
  ASSERT_EQ(runFir("3D", input, arguments).exitCode, 0);
  std::string const expected = readFile(output);
  for (std::vector<std::string> const& options : {std::vector<std::string>{"--in-place"},
                                                  {"--on-disk"},
                                                  {"--in-place", "--max-extra-memory=0"},
                                                  {"--threads=1"}}) {
    auto all = arguments;
    all.insert(all.end(), options.begin(), options.end());
    Outcome const outcome = runFir("3D", input, all);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_TRUE(readFile(output) == expected) << options[0];
    EXPECT_TRUE(readFile(input) == makeNpy("|u1", "(2, 3, 4)", voxels)) << options[0];
  }
}

TEST_F(Fir, Of2dTellsThatOtherPlansStay) {
  Outcome const outcome = runFir("2D", input, {"kernel=1"});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.err, "qorn: FiniteImpulseResponseFilter2D: plans above the first are left unchanged\n");
  auto expected = voxels;
  std::fill(expected.begin() + 12, expected.end(), static_cast<unsigned char>(0));
  EXPECT_TRUE(readFile(output) == makeNpy("|u1", "(2, 3, 4)", expected));
}

TEST_F(Fir, RefusesKernelsThatCanNotBeMeant) {
  expectUsage("2D", {}, "FiniteImpulseResponseFilter2D", "kernel=VALUE is missing");
  expectUsage("2D", {"kernel="}, "kernel", "has no value");
  expectUsage("2D", {"kernel=1 2; 3"}, "kernel=1 2; 3", "different lengths");
  expectUsage("2D", {"kernel=1 2;"}, "kernel=1 2;", "a row of the kernel is empty");
  expectUsage("2D", {"kernel= "}, "kernel= ", "a row of the kernel is empty");
  expectUsage("2D", {"kernel=1 x"}, "kernel=1 x", "not a number");
  expectUsage("2D", {"kernel=1,2"}, "kernel=1,2", "not a number");
  expectUsage("2D", {"kernel=+1"}, "kernel=+1", "not a number");
  expectUsage("2D", {"kernel=1 nan"}, "kernel=1 nan", "must be finite");
  expectUsage("2D", {"kernel=1e999"}, "kernel=1e999", "out of range");
  expectUsage("2D", {"kernel=1 | 2"}, "kernel=1 | 2", "a 2-D kernel has no plans");
  expectUsage("3D", {"kernel=1 | 2; 3"}, "kernel=1 | 2; 3", "different numbers of rows");
  expectUsage("2D", {"kernel=1", "kernel=1"}, "kernel", "is given twice");
  for (char const* const origin : {"1", "1,2,3", "1,", "1;2", "a,b", "1, 2", "1,9999999999"})
    expectUsage("2D", {"kernel=1", std::string("--kernel-origin=") + origin},
                "--kernel-origin " + std::string(origin), "");
  expectUsage("3D", {"kernel=1", "--kernel-origin=1,2"}, "--kernel-origin 1,2", "expected COLUMN,ROW,PLAN");
  expectFailure(runQorn({"run", "Dilation2d", plan, output, "--kernel-origin=0,0"}), 2, "--kernel-origin",
                "Dilation2d has no kernel");
}

TEST_F(Fir, RefusesFilesThatAreNoKernel) {
  expectFailure(runFir("2D", plan, {"kernel=" + kernel}), 1, kernel, "");
  writeFile(kernel, makeNpy("<f8", "(2, 1, 1)", std::vector<double>{1, 0}));
  expectUsage("2D", {"kernel=" + kernel}, "kernel=" + kernel, "the file has 3 dimensions and the kernel 2");
  writeFile(kernel, makeNpy("<f8", "(1, 2)", std::vector<double>{1, 0}));
  expectUsage("3D", {"kernel=" + kernel}, "kernel=" + kernel, "the file has 2 dimensions and the kernel 3");
  writeFile(kernel, makeNpy("|u1", "(1001, 1000)", std::vector<unsigned char>(1001000)));
  expectUsage("2D", {"kernel=" + kernel}, "kernel=" + kernel, "at most 1000000");
  writeFile(kernel, "no array");
  expectFailure(runFir("2D", plan, {"kernel=" + kernel}), 1, kernel, "");
}

}  // namespace
