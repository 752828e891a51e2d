#include "support/Files.h"
#include "support/Npy.h"
#include "support/Qorn.h"

namespace {

using namespace test;

class InPlaceOnDisk : public ::testing::Test {
 protected:
  Outcome run(std::string const& name, std::string const& to, std::vector<std::string> const& more) const {
    std::vector<std::string> arguments{"run", name, input, to};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runQorn(arguments);
  }

  TempFolder folder;
  std::string input = folder / "input.npy", output = folder / "output.npy", expected = folder / "expected.npy";
};

TEST_F(InPlaceOnDisk, GivesWhatTwoImagesGive) {
  std::string const bytes = makeNpy("<u2", "(2, 3, 5, 21, 37)", makeValues<unsigned short>(2 * 3 * 5 * 21 * 37));
  writeFile(input, bytes);
  for (std::vector<std::string> command : {std::vector<std::string>{"Dilation2d", "numberOfIterations=3"},
                                           {"Dilation3d", "neighborhood=0"},
                                           {"ErosionDisk2d", "radius=4"},
                                           {"FiniteImpulseResponseFilter3D", "kernel=1 2 1; 2 4 2; 1 2 1"},
                                           {"LogicalOperationWithValue", "value=255"}}) {
    std::string const name = command[0];
    SCOPED_TRACE(name);
    EXPECT_EQ(run(name, expected, {command[1]}).exitCode, 0);
    Outcome const outcome = run(name, output, {command[1], "--in-place", "--on-disk"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_TRUE(readFile(output) == readFile(expected));
    EXPECT_TRUE(readFile(input) == bytes);
  }
  // The output's name may be that of the input, which is replaced in the end.
  EXPECT_EQ(run("LogicalOperationWithValue", input, {"value=255", "--in-place", "--on-disk"}).exitCode, 0);
  EXPECT_TRUE(readFile(input) == readFile(expected));
}

TEST_F(InPlaceOnDisk, TakesLittleMemory) {
  writeFile(input, makeNpyHeader(makeNpyDictionary("|u1", "(2, 32, 2097152)")));
  resizeFile(input, 128 + (1UL << 27));
  Outcome const outcome = run("LogicalOperationWithValue", output, {"value=1", "--in-place", "--on-disk"});
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  expectLittleMemory(outcome);
}

TEST_F(InPlaceOnDisk, IsRefusedWhereItCannotBe) {
  writeFile(input, makeNpy(">u2", "(2, 3)", makeValues<unsigned short>(6)));
  std::vector<std::string> const options{"--in-place", "--on-disk"};
  expectFailure(run("Dilation2d", output, options), 1, input, "can't be used on disk");
  writeFile(input, makeNpy("<u2", "(2, 3)", makeValues<unsigned short>(6)));
  expectFailure(run("Dilation2d", folder / "output.tif", options), 1, folder / "output.tif", "only .npy");
  expectFailure(run("Dilation2d", output, {"--in-place", "--on-disk", "--output-type=int8"}), 2, "--in-place",
                "the output has the input's type, uint16");
  EXPECT_EQ(listFolder(folder / ""), std::vector<std::string>{"input.npy"});
}

}  // namespace
