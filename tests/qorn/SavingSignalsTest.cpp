#include <unistd.h>

#include <csignal>

#include "support/Files.h"
#include "support/Npy.h"
#include "support/Qorn.h"
#include "support/Refusal.h"

namespace {

using namespace test;

/** Runs that would take days and are ended; the parameter is what the file system can't do. */
class SavingSignals : public ::testing::TestWithParam<unsigned int> {
 protected:
  SavingSignals() {
    writeFile(image, makeNpy("|u1", "(400, 300)", makeValues<unsigned char>(400 * 300)));
    writeFile(folder / "old.npy", "old");
  }

  Program start(std::string const& name, std::vector<std::string> const& more = {}) const {
    // Pass by pass: the other runner would be done at once.
    std::vector<std::string> arguments{
        "run",           "Dilation2d", image, folder / name, "numberOfIterations=4000000000", "neighborhood=0",
        "--runner=sse41"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    Program::Options options;
    unsigned int const refusals = GetParam();
    options.prepare = [refusals] {
      if (!refuse(refusals)) ::_exit(99);
    };
    return Program(QORN_PROGRAM, arguments, options);
  }
  /** Nothing was added, nothing changed. */
  void expectUntouched() const {
    EXPECT_EQ(listFolder(folder / ""), (std::vector<std::string>{"image.npy", "old.npy"}));
    EXPECT_EQ(readFile(folder / "old.npy"), "old");
  }

  TempFolder folder;
  std::string image = folder / "image.npy";
};
INSTANTIATE_TEST_SUITE_P(FileSystems, SavingSignals, ::testing::Values(0u, unsigned(cUnnamedFiles)));

TEST_P(SavingSignals, ACancelledRunLeavesNothing) {
  for (std::string const name : {"new.npy", "new.tif", "new.png", "old.npy"}) {
    for (std::vector<std::string> const& more : {std::vector<std::string>{}, {"--in-place"}, {"--on-disk"}}) {
      bool const isOnDisk = !more.empty() && more[0] == "--on-disk";
      if (isOnDisk && name.find(".npy") == std::string::npos) continue;
      SCOPED_TRACE(name + ::testing::PrintToString(more));
      Program program = start(name, more);
      ASSERT_NE(0u, program.waitUntilHandled(isOnDisk ? SIGTERM : SIGINT));
      ::usleep(100000);
      EXPECT_EQ(listFolder(folder / "").size(), GetParam() == 0 ? 2u : 3u) << "a temporary name shows";
      program.send(isOnDisk ? SIGTERM : SIGINT);
      expectFailure(program.wait(), 130, "Dilation2d", "cancelled");
      expectUntouched();
    }
  }
}

TEST_P(SavingSignals, TheSecondInterruptLeavesNothing) {
  // The second one may come too late, when the run is cancelled already, so there are several tries.
  bool isEnded = false;
  for (int i = 0; i < 20 && !isEnded; ++i) {
    Program program = start("new.npy");
    ASSERT_NE(0u, program.waitUntilHandled(SIGTERM));
    program.send(SIGTERM);
    ::usleep(2000);
    program.send(SIGTERM);
    Outcome const outcome = program.wait();
    EXPECT_TRUE(outcome.exitCode == 130 || outcome.signal == SIGTERM) << outcome.exitCode;
    isEnded = outcome.signal == SIGTERM;
    expectUntouched();
  }
  EXPECT_TRUE(isEnded);
}

TEST_P(SavingSignals, AHangUpLeavesNothing) {
  Program program = start("new.npy");
  ASSERT_NE(0u, program.waitUntilHandled(SIGINT));
  ::usleep(100000);
  program.send(SIGHUP);
  EXPECT_EQ(program.wait().signal, SIGHUP);
  expectUntouched();
}

TEST_P(SavingSignals, BeingKilledLeavesNothingWhereFilesCanBeUnnamed) {
  if (GetParam() != 0) return;
  for (std::vector<std::string> const& more : {std::vector<std::string>{}, {"--on-disk"}}) {
    Program program = start("new.npy", more);
    ASSERT_NE(0u, program.waitUntilHandled(SIGINT));
    ::usleep(100000);
    program.send(SIGKILL);
    EXPECT_EQ(program.wait().signal, SIGKILL);
    expectUntouched();
  }
}

TEST_P(SavingSignals, AnInputThatIsCutLeavesNothing) {
  writeFile(image, makeNpyHeader(makeNpyDictionary("|u1", "(4096, 4096)")));
  resizeFile(image, 128 + (1UL << 24));
  Program program = start("new.npy");
  ASSERT_NE(0u, program.waitUntilHandled(SIGINT));
  program.send(SIGSTOP);  // before the first pass is done, or even begun
  resizeFile(image, 4096);
  program.send(SIGCONT);
  expectFailure(program.wait(), 1, image, "can no longer be read");
  expectUntouched();
}

}  // namespace
