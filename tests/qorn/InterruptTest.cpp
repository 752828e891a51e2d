#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>

#include "support/Files.h"
#include "support/Npy.h"
#include "support/Qorn.h"
#include "support/Refusal.h"

namespace {

using namespace test;

/** Interrupts that come when the run itself is hardly there to be cancelled. */
class Interrupt : public ::testing::TestWithParam<char const*> {
 protected:
  /** An operator that is done in a moment, on noise, which takes seconds to compress. */
  Interrupt() { writeFile(image, makeNpy("|u1", "(6000, 6000)", makeValues<unsigned char>(6000 * 6000))); }

  Program start(Program::Options const& options = {}) const {
    return Program(QORN_PROGRAM, {"run", "LogicalOperationWithValue", image, output, "value=255"}, options);
  }
  /** Interrupts the program, which ends with the code of a cancelled run, soon and with nothing left behind. */
  void expectCancelled(Program& program) const {
    auto const begin = std::chrono::steady_clock::now();
    program.send(SIGINT);
    expectFailure(program.wait(), 130, "LogicalOperationWithValue", "cancelled");
    std::chrono::duration<double> const seconds = std::chrono::steady_clock::now() - begin;
    EXPECT_LT(seconds.count(), 0.7);
    EXPECT_EQ(listFolder(folder / ""), std::vector<std::string>{"image.npy"});
  }

  TempFolder folder;
  std::string image = folder / "image.npy", output = folder / GetParam();
};
INSTANTIATE_TEST_SUITE_P(Formats, Interrupt, ::testing::Values("out.nii.gz", "out.png"));

TEST_P(Interrupt, AtTheVeryStart) {
  for (int i = 0; i < 4; ++i) {
    Program program = start();
    ASSERT_NE(0u, program.waitUntilHandled(SIGINT));
    expectCancelled(program);
  }
}

TEST_P(Interrupt, WhileTheFileIsWritten) {
  // The unfinished file can be seen where files can't be without a name; it grows when the run is over.
  Program::Options options;
  options.prepare = [] {
    if (!refuse(cUnnamedFiles)) ::_exit(99);
  };
  Program program = start(options);
  struct stat status {};
  for (int i = 0; i < 20000 && status.st_size == 0; ++i) {
    for (std::string const& name : listFolder(folder / "")) {
      if (name != "image.npy") ::stat((folder / name).c_str(), &status);
    }
    ::usleep(500);
  }
  ASSERT_GT(status.st_size, 0);
  expectCancelled(program);
}

}  // namespace
