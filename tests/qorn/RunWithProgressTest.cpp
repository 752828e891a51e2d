#include <unistd.h>

#include <csignal>

#include "support/Files.h"
#include "support/Npy.h"
#include "support/Qorn.h"

namespace {

using namespace test;

class RunWithProgress : public ::testing::Test {
 protected:
  /** An image of 64 GiB that takes no space on disk, but so long to read that a run of it must be cancelled. */
  RunWithProgress() {
    writeFile(image, makeNpyHeader(makeNpyDictionary("<u2", "(8192, 2048, 2048)")));
    resizeFile(image, 128 + (1UL << 36));
  }

  /** Runs plan by plan: a cancel is obeyed after the present plan. */
  Program start(std::vector<std::string> const& more = {"analysisDimensions=1"}, bool hasTerminal = false) const {
    std::vector<std::string> arguments{"run", "IntensityExtrema", image, "--on-disk", "--threads", "1"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    Program::Options options;
    options.hasTerminal = hasTerminal;
    return Program(QORN_PROGRAM, arguments, options);
  }

  TempFolder folder;
  std::string image = folder / "image.npy";
};

TEST_F(RunWithProgress, InterruptAndTerminationCancel) {
  for (int const signal : {SIGINT, SIGTERM}) {
    Program program = start();
    ASSERT_NE(0u, program.waitUntilHandled(signal));
    program.send(signal);
    expectFailure(program.wait(), 130, "IntensityExtrema", "cancelled");
  }
}

TEST_F(RunWithProgress, InterruptInTheMiddle) {
  for (std::vector<std::string> const& more : {std::vector<std::string>{"analysisDimensions=1"}, {}}) {
    Program program = start(more);
    ASSERT_NE(0u, program.waitUntilHandled(SIGINT));
    ::usleep(200000);
    program.send(SIGINT);
    expectFailure(program.wait(), 130, "IntensityExtrema", "cancelled");
  }
}

TEST_F(RunWithProgress, AnotherInterruptEndsTheProcess) {
  // The second one may come too late, when the first has had its effect already, so there are several tries.
  bool isEnded = false;
  for (int i = 0; i < 20 && !isEnded; ++i) {
    Program program = start();
    ASSERT_NE(0u, program.waitUntilHandled(SIGINT));
    program.send(SIGINT);
    // As long as the program handles the termination signal it is still within the run.
    bool const isRunning = program.waitUntilHandled(SIGINT, false) >> (SIGTERM - 1) & 1;
    program.send(SIGINT);
    Outcome const outcome = program.wait();
    EXPECT_TRUE(outcome.signal == SIGINT || outcome.exitCode == 130) << outcome.exitCode;
    isEnded = isRunning && outcome.signal == SIGINT;
  }
  EXPECT_TRUE(isEnded);
}

TEST_F(RunWithProgress, ProgressOnATerminal) {
  Program program = start({"analysisDimensions=1"}, true);
  EXPECT_TRUE(program.waitForError("\rIntensityExtrema   0 %"));
  program.send(SIGINT);
  Outcome const outcome = program.wait();
  EXPECT_EQ(outcome.exitCode, 130);
  // The line is wiped before anything else is said.
  std::string const end = "\r" + std::string(22, ' ') + "\rqorn: IntensityExtrema: cancelled\r\n";
  ASSERT_GE(outcome.err.size(), end.size());
  EXPECT_EQ(outcome.err.substr(outcome.err.size() - end.size()), end);
}

TEST_F(RunWithProgress, NoProgressWithQuiet) {
  Program program = start({"analysisDimensions=1", "--quiet"}, true);
  ASSERT_NE(0u, program.waitUntilHandled(SIGINT));
  ::usleep(300000);
  program.send(SIGINT);
  EXPECT_EQ(program.wait().err, "qorn: IntensityExtrema: cancelled\r\n");
}

TEST_F(RunWithProgress, NoProgressWithoutATerminal) {
  Program program = start();
  ASSERT_NE(0u, program.waitUntilHandled(SIGINT));
  ::usleep(300000);
  program.send(SIGINT);
  EXPECT_EQ(program.wait().err, "qorn: IntensityExtrema: cancelled\n");
}

TEST_F(RunWithProgress, ThreadsAreLimited) {
  // One that watches and one that works, and with more threads at least one more.
  for (char const* const nbThreads : {"1", "4"}) {
    Program program(QORN_PROGRAM,
                    {"run", "IntensityExtrema", image, "--on-disk", "analysisDimensions=1", "--threads", nbThreads},
                    {});
    ASSERT_NE(0u, program.waitUntilHandled(SIGINT));
    ::usleep(300000);
    unsigned long const nbRunning = program.getNbThreads();
    program.send(SIGINT);
    EXPECT_EQ(program.wait().exitCode, 130);
    if (nbThreads == std::string("1")) {
      EXPECT_EQ(nbRunning, 2u);
    } else {
      EXPECT_GT(nbRunning, 2u);
    }
  }
}

TEST_F(RunWithProgress, OnDiskMeansLittleMemory) {
  writeFile(image, makeNpyHeader(makeNpyDictionary("<u2", "(64, 2048, 2048)")));
  resizeFile(image, 128 + (1UL << 29));
  for (std::vector<std::string> const& options :
       {std::vector<std::string>{"--on-disk"}, {"--on-disk", "--threads=1"}}) {
    std::vector<std::string> arguments{"run", "IntensityExtrema", image};
    arguments.insert(arguments.end(), options.begin(), options.end());
    Outcome const outcome = runQorn(arguments);
    EXPECT_EQ(outcome.out, "minimum  maximum\n      0        0\n");
    expectLittleMemory(outcome);
  }
}

}  // namespace
