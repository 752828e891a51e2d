#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include "support/Files.h"
#include "support/Neighbours.h"
#include "support/Npy.h"
#include "support/Png.h"
#include "support/Qorn.h"
#include "support/Refusal.h"
#include "support/Tiff.h"

namespace {

using namespace test;

/** How the result of a run becomes a file, and what happens when it can't. */
class Saving : public ::testing::Test {
 protected:
  Saving() {
    auto const values = makeValues<unsigned char>(300 * 200);
    writeFile(input, makeNpy("|u1", "(300, 200)", values));
    expected = makeNpy("|u1", "(300, 200)", applySteps(values, 300, 200, {false, 1}, 1));
    ::mkdir((folder / "out").c_str(), 0700);
  }

  Outcome save(std::string const& output, std::vector<std::string> const& more = {},
               Program::Options const& options = {}) const {
    std::vector<std::string> arguments{"run", "Dilation2d", input, output};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runQorn(arguments, options);
  }
  void expectSaved(std::string const& output, std::vector<std::string> const& more = {},
                   Program::Options const& options = {}) const {
    Outcome const outcome = save(output, more, options);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    EXPECT_TRUE(readFile(output) == expected);
  }
  std::vector<std::string> listOut() const { return listFolder(folder / "out"); }

  TempFolder folder;
  std::string input = folder / "input.npy";
  std::string expected;
};

TEST_F(Saving, SomethingInTheWay) {
  for (std::string const suffix : {".npy", ".tif", ".tiff", ".png", ".nii", ".nii.gz"}) {
    for (std::vector<std::string> const& more : {std::vector<std::string>{}, {"--no-clobber"}, {"--in-place"}}) {
      std::string path = folder / ("out/folder" + suffix);
      ::mkdir(path.c_str(), 0700);
      expectFailure(save(path, more), 1, path, "is a directory");
      path = folder / ("out/pipe" + suffix);
      ::mkfifo(path.c_str(), 0600);
      expectFailure(save(path, more), 1, path, "not a regular file");
      path = folder / ("out/device" + suffix);
      static_cast<void>(::symlink("/dev/null", path.c_str()));
      expectFailure(save(path, more), 1, path, "not a regular file");
      path = folder / ("out/nothing" + suffix);
      static_cast<void>(::symlink("missing", path.c_str()));
      expectFailure(save(path, more), 1, path, "is a symbolic link to nothing");
      path = folder / ("missing/out" + suffix);
      expectFailure(save(path, more), 1, path, "No such file or directory");
      path = input + "/out" + suffix;
      expectFailure(save(path, more), 1, path, "Not a directory");
    }
  }
  EXPECT_EQ(listOut().size(), 24u);
  EXPECT_EQ(listFolder(folder / ""), (std::vector<std::string>{"input.npy", "out"}));
}

TEST_F(Saving, NamesOfFiles) {
  for (std::string const name : {"out", "out.", "out.jpg", "out.npy.gz", "out.npyx"}) {
    expectFailure(save(folder / name), 1, folder / name, "no image format has this suffix");
  }
  expectSaved(folder / "out/a.NPY");
  expectSaved(folder / ("out/" + std::string(251, 'x') + ".npy"));
  Program::Options options;
  options.folder = folder / "out";
  EXPECT_EQ(save("b.npy", {}, options).exitCode, 0);
  EXPECT_EQ(save("./c=d.npy", {}, options).exitCode, 0);
  EXPECT_TRUE(readFile(folder / "out/b.npy") == expected);
  EXPECT_TRUE(readFile(folder / "out/c=d.npy") == expected);
  EXPECT_EQ(listOut().size(), 4u);
}

TEST_F(Saving, ThroughALink) {
  writeFile(folder / "out/target.npy", "old");
  ASSERT_EQ(::symlink("out/target.npy", (folder / "link.npy").c_str()), 0);
  expectFailure(save(folder / "link.npy", {"--no-clobber"}), 1, folder / "link.npy", "already exists");
  EXPECT_EQ(readFile(folder / "out/target.npy"), "old");
  expectSaved(folder / "link.npy");
  struct stat status;
  ASSERT_EQ(::lstat((folder / "link.npy").c_str(), &status), 0);
  EXPECT_TRUE(S_ISLNK(status.st_mode));
  EXPECT_TRUE(readFile(folder / "out/target.npy") == expected);
  EXPECT_EQ(listOut(), std::vector<std::string>{"target.npy"});
}

TEST_F(Saving, NoClobber) {
  for (std::string const suffix : {".npy", ".tif", ".png", ".nii", ".nii.gz"}) {
    std::string const path = folder / ("out/file" + suffix);
    EXPECT_EQ(save(path, {"--no-clobber"}).exitCode, 0);
    std::string const bytes = readFile(path);
    EXPECT_NE(bytes, "");
    expectFailure(save(path, {"--no-clobber", "numberOfIterations=2"}), 1, path, "already exists");
    EXPECT_TRUE(readFile(path) == bytes);
    EXPECT_EQ(save(path, {"numberOfIterations=2"}).exitCode, 0);
    EXPECT_FALSE(readFile(path) == bytes);
  }
  std::string const bytes = readFile(input);
  expectFailure(save(input, {"--no-clobber"}), 1, input, "already exists");
  expectFailure(save(input, {"--no-clobber", "--in-place"}), 1, input, "already exists");
  EXPECT_TRUE(readFile(input) == bytes);
  EXPECT_EQ(listOut().size(), 5u);
}

/** What can't be saved is refused before the run, which would never end here. */
TEST_F(Saving, RefusalsComeBeforeTheRun) {
  std::string const forever = "numberOfIterations=4000000000";
  expectFailure(save(folder / "out/a.png", {forever, "--output-type=int8"}), 1, folder / "out/a.png",
                "PNG holds 2-D images of uint8 and uint16, this one is 2-D of int8");
  expectFailure(save(folder / "out/a.tif", {forever, "--on-disk"}), 1, folder / "out/a.tif",
                "only .npy can be used on disk");
  expectFailure(save(folder / "out/a.png", {forever, "--on-disk"}), 1, folder / "out/a.png",
                "only .npy can be used on disk");
  expectFailure(save(folder / "out/a.jpg", {forever}), 1, folder / "out/a.jpg", "no image format has this suffix");
  expectFailure(save(input, {forever, "--no-clobber"}), 1, input, "already exists");
  writeFile(input, makeNpy("|u1", "(1, 3, 2)", makeValues<unsigned char>(6)));
  expectFailure(save(folder / "out/a.png", {forever}), 1, folder / "out/a.png", "this one is 3-D of uint8");
  writeFile(input, makeNpy("|u1", "(1048577, 1, 1)", makeValues<unsigned char>(1048577)));
  expectFailure(save(folder / "out/a.tif", {forever}), 1, folder / "out/a.tif", "TIFF holds at most 1048576 plans");
  EXPECT_EQ(listOut().size(), 0u);
}

TEST_F(Saving, OtherFormatsOnDiskAreRefused) {
  writePng(folder / "image.png", 37, 20, 8, 0, std::string(740, 'x'));
  expectFailure(runQorn({"run", "Dilation2d", folder / "image.png", folder / "out/a.npy", "--on-disk"}), 1,
                folder / "image.png", "can't be used on disk; only .npy can");
  EXPECT_EQ(listOut().size(), 0u);
}

TEST_F(Saving, AFailedRunLeavesNothing) {
  writeFile(folder / "out/old.npy", "old");
  for (std::string const name : {"new.npy", "new.tif", "new.png", "new.nii", "new.nii.gz", "old.npy"}) {
    Outcome const outcome =
        save(folder / ("out/" + name), {"numberOfIterations=35", "--interpretation", "binary", "--runner=sse41"});
    expectFailure(outcome, 1, "Dilation2d", "");
  }
  expectFailure(save(folder / "out/new.npy", {"numberOfIterations=35", "--interpretation", "binary", "--on-disk"}), 1,
                "Dilation2d", "");
  EXPECT_EQ(readFile(folder / "out/old.npy"), "old");
  EXPECT_EQ(listOut(), std::vector<std::string>{"old.npy"});
}

TEST_F(Saving, PermissionsFollowTheMask) {
  for (unsigned int const mask : {0022u, 0077u, 0002u}) {
    for (unsigned int const refusals : {0u, unsigned(cUnnamedFiles)}) {
      for (std::string const name : {"out/a.npy", "out/a.tif", "out/a.png", "out/a.nii", "out/a.nii.gz"}) {
        Program::Options options;
        options.prepare = [mask, refusals] {
          ::umask(mask);
          if (!refuse(refusals)) ::_exit(99);
        };
        EXPECT_EQ(save(folder / name, {}, options).exitCode, 0);
        struct stat status;
        ASSERT_EQ(::stat((folder / name).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0666 & ~mask);
      }
    }
  }
}

TEST_F(Saving, WithoutUnnamedFiles) {
  for (unsigned int const refusals :
       {cUnnamedFiles | cHardLinks, cUnnamedFiles | cExclusiveRename, unsigned(cAccess)}) {
    Program::Options options;
    options.prepare = [refusals] {
      if (!refuse(refusals)) ::_exit(99);
    };
    expectSaved(folder / "out/a.npy", {"--no-clobber"}, options);
    expectSaved(folder / "out/a.npy", {}, options);
    expectSaved(folder / "out/a.npy", {"--on-disk"}, options);
    expectFailure(save(folder / "out/a.npy", {"--no-clobber"}, options), 1, folder / "out/a.npy", "already exists");
    EXPECT_EQ(listOut(), std::vector<std::string>{"a.npy"});
    ASSERT_EQ(::unlink((folder / "out/a.npy").c_str()), 0);
  }
}

TEST_F(Saving, FoldersThatMayNotBeWritten) {
  Program::Options options;
  ASSERT_EQ(::chmod((folder / "").c_str(), 0755), 0);
  ASSERT_EQ(::chmod((folder / "out").c_str(), 0555), 0);
  if (::geteuid() == 0) {  // whom permissions don't stop
    options.prepare = [] {
      if (::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(99);
    };
    Outcome const outcome = runQorn({"--version"}, options);
    if (outcome.exitCode != 0) GTEST_SKIP() << "another user can't start the program";
  }
  for (std::string const name : {"out/a.npy", "out/a.tif", "out/a.png", "out/a.nii", "out/a.nii.gz"}) {
    expectFailure(save(folder / name, {}, options), 1, folder / name, "can't be written: Permission denied");
  }
  EXPECT_EQ(listOut().size(), 0u);
  ::chmod((folder / "out").c_str(), 0755);
}

/** Not a signal, even where nobody ignores it for the program. */
TEST_F(Saving, FilesThatMayNotBeLargeEnough) {
  for (unsigned int const refusals : {0u, unsigned(cUnnamedFiles)}) {
    Program::Options options;
    options.fileBytes = 10000;
    options.prepare = [refusals] {
      std::signal(SIGXFSZ, SIG_DFL);
      if (!refuse(refusals)) ::_exit(99);
    };
    writeFile(folder / "out/old.npy", "old");
    for (std::string const name : {"a.npy", "a.tif", "a.png", "a.nii", "a.nii.gz", "old.npy"}) {
      std::string const path = folder / ("out/" + name);
      expectFailure(save(path, {}, options), 1, path, "File too large");
      // Nothing is said about iterations when nothing is saved: there is one line.
      if (name != "a.png" && name != "a.nii.gz") {
        expectFailure(save(path, {"numberOfIterations=0"}, options), 1, path, "File too large");
      }
    }
    expectFailure(save(folder / "out/a.npy", {"--on-disk"}, options), 1, folder / "out/a.npy", "File too large");
    EXPECT_EQ(listOut(), std::vector<std::string>{"old.npy"});
    EXPECT_EQ(readFile(folder / "out/old.npy"), "old");
  }
}

TEST_F(Saving, ToAFullDisk) {
  if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
      ::mount("none", (folder / "out").c_str(), "tmpfs", 0, "size=32k") != 0) {
    GTEST_SKIP() << "a small disk can't be mounted: " << std::strerror(errno);
  }
  writeFile(folder / "out/old.npy", "old");
  for (unsigned int const refusals : {0u, unsigned(cUnnamedFiles)}) {
    Program::Options options;
    options.prepare = [refusals] {
      if (!refuse(refusals)) ::_exit(99);
    };
    for (std::vector<std::string> const& more : {std::vector<std::string>{}, {"--in-place"}, {"--no-clobber"}}) {
      for (std::string const name : {"a.npy", "a.tif", "a.png", "a.nii", "a.nii.gz", "old.npy"}) {
        if (name == "old.npy" && !more.empty()) continue;
        std::string const path = folder / ("out/" + name);
        expectFailure(save(path, more, options), 1, path, "No space left on device");
        EXPECT_EQ(listOut(), std::vector<std::string>{"old.npy"});
      }
    }
    expectFailure(save(folder / "out/a.npy", {"--on-disk"}, options), 1, folder / "out/a.npy",
                  "No space left on device");
  }
  EXPECT_EQ(listOut(), std::vector<std::string>{"old.npy"});
  EXPECT_EQ(readFile(folder / "out/old.npy"), "old");
  ::umount((folder / "out").c_str());
}

}  // namespace
