#include "support/Files.h"
#include "support/Npy.h"
#include "support/Qorn.h"

namespace {

using namespace test;

class Output : public ::testing::Test {
 protected:
  Output() { writeFile(image, makeNpy("|u1", "(200, 1, 3)", makeValues<unsigned char>(600))); }

  TempFolder folder;
  std::string image = folder / "image.npy";
  std::vector<std::vector<std::string>> commands{{"--help"},
                                                 {"--version"},
                                                 {"info", image},
                                                 {"info", "--json", image},
                                                 {"operators"},
                                                 {"operators", "--json"},
                                                 {"operators", "IntensityExtrema"},
                                                 {"run", "IntensityExtrema", image, "analysisDimensions=1"},
                                                 {"run", "IntensityExtrema", image, "--json"}};
};

TEST_F(Output, ToAFullDiskIsAFailure) {
  for (auto const& command : commands) {
    SCOPED_TRACE(::testing::PrintToString(command));
    Program::Options options;
    options.outputPath = "/dev/full";
    expectFailure(runQorn(command, options), 1, "standard output", "No space left");
  }
}

TEST_F(Output, ToAClosedPipeIsAFailure) {
  for (auto const& command : commands) {
    SCOPED_TRACE(::testing::PrintToString(command));
    Program::Options options;
    options.isOutputClosed = true;
    expectFailure(runQorn(command, options), 1, "standard output", "Broken pipe");
  }
}

TEST_F(Output, ToNothingIsAFailure) {
  for (auto const& command : commands) {
    SCOPED_TRACE(::testing::PrintToString(command));
    std::vector<std::string> arguments{"-c", "exec \"$0\" \"$@\" >&-", QORN_PROGRAM};
    arguments.insert(arguments.end(), command.begin(), command.end());
    expectFailure(Program("/bin/sh", arguments, {}).wait(), 1, "standard output", "Bad file descriptor");
  }
}

TEST_F(Output, ToAFileIsComplete) {
  Program::Options options;
  options.outputPath = folder / "table";
  EXPECT_EQ(runQorn({"run", "IntensityExtrema", image, "analysisDimensions=1"}, options).exitCode, 0);
  std::string const table = readFile(options.outputPath);
  EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 201);
}

}  // namespace
