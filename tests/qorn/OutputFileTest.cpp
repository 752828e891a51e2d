#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <functional>

#include "qorn/io/FileError.h"
#include "qorn/io/OutputFile.h"
#include "support/Files.h"
#include "support/Refusal.h"

namespace {

using namespace test;
using qorn::io::OutputFile;

/** Runs the steps in a process of their own, in which something may be refused for ever. @return its wait status */
int runInChild(unsigned int refusals, std::function<int()> const& steps) {
  pid_t const child = ::fork();
  if (child == 0) {
    if (!refuse(refusals)) ::_exit(99);
    try {
      ::_exit(steps());
    } catch (std::exception const& error) {
      std::fprintf(stderr, "%s\n", error.what());
    }
    ::_exit(98);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return status;
}

/** The text of the error that steps raise; empty if there is none. */
std::string getFault(std::function<void()> const& steps) {
  try {
    steps();
    return std::string();
  } catch (qorn::io::FileError const& error) {
    return error.what();
  }
}

/** File systems differ in what they can do, and the result must not. */
class OutputFileOn : public ::testing::TestWithParam<unsigned int> {
 protected:
  /** Checks that the steps return 0 where the parameter's abilities are missing. */
  void expectDone(std::function<int()> const& steps) const {
    int const status = runInChild(GetParam(), steps);
    EXPECT_TRUE(WIFEXITED(status)) << status;
    if (WIFEXITED(status)) {
      EXPECT_EQ(WEXITSTATUS(status), 0);
    }
  }
  bool isNamed() const { return (GetParam() & (cUnnamedFiles | cAccess)) != 0; }
  bool canBeExclusive() const { return (GetParam() & cHardLinks) == 0 || (GetParam() & cExclusiveRename) == 0; }

  TempFolder folder;
  std::string path = folder / "file";
};
// Without unnamed files, hard links may be missing too; where neither an exclusive rename nor links are possible
// --no-clobber can't be kept, and nothing is replaced.
INSTANTIATE_TEST_SUITE_P(FileSystems, OutputFileOn,
                         ::testing::Values(0u, unsigned(cUnnamedFiles), cUnnamedFiles | cHardLinks,
                                           cUnnamedFiles | cExclusiveRename, unsigned(cAccess),
                                           cUnnamedFiles | cHardLinks | cExclusiveRename));

TEST_P(OutputFileOn, AppearsWhenItIsCommitted) {
  expectDone([this] {
    OutputFile file(path, true);
    file.write("abc", 3, 0);
    auto const names = listFolder(folder / "");
    if (names.size() != (isNamed() ? 1 : 0)) return 1;
    if (isNamed() && (names[0].rfind(".qorn-", 0) != 0 || names[0].find(".part") == std::string::npos)) return 2;
    if (readFile(file.getOpenPath()) != "abc") return 3;
    file.commit();
    return listFolder(folder / "") == std::vector<std::string>{"file"} ? 0 : 4;
  });
  EXPECT_EQ(listFolder(folder / ""), std::vector<std::string>{"file"});
  EXPECT_EQ(readFile(path), "abc");
}

TEST_P(OutputFileOn, LeavesNothingWithoutACommit) {
  for (bool const isReplacing : {true, false}) {
    expectDone([this, isReplacing] {
      OutputFile(path, isReplacing).write("abc", 3, 0);
      return listFolder(folder / "").empty() ? 0 : 1;
    });
  }
}

TEST_P(OutputFileOn, ReplacesAFile) {
  writeFile(path, "old and longer");
  std::string const link = folder / "link";
  ASSERT_EQ(::link(path.c_str(), link.c_str()), 0);
  expectDone([this] {
    OutputFile file(path, true);
    file.write("new", 3, 0);
    if (readFile(path) != "old and longer") return 1;
    file.commit();
    return 0;
  });
  EXPECT_EQ(readFile(path), "new");
  EXPECT_EQ(readFile(link), "old and longer") << "it is another file, not other contents";
  EXPECT_EQ(listFolder(folder / ""), (std::vector<std::string>{"file", "link"}));
}

TEST_P(OutputFileOn, NeverReplacesWithoutLeave) {
  writeFile(path, "old");
  expectDone([this] { return getFault([this] { OutputFile(path, false); }) == path + ": already exists" ? 0 : 1; });
  ASSERT_EQ(::unlink(path.c_str()), 0);
  // Somebody else may be faster.
  expectDone([this] {
    OutputFile file(path, false);
    file.write("new", 3, 0);
    writeFile(path, "old");
    std::string const fault = getFault([&file] { file.commit(); });
    return fault == path + (canBeExclusive() ? ": already exists" : ": can't be written: Operation not permitted")
               ? 0
               : 2;
  });
  EXPECT_EQ(readFile(path), "old");
  EXPECT_EQ(listFolder(folder / ""), std::vector<std::string>{"file"});
}

TEST_P(OutputFileOn, AppearsAlsoWhereNothingMayBeReplaced) {
  expectDone([this] {
    OutputFile file(path, false);
    file.write("abc", 3, 0);
    std::string const fault = getFault([&file] { file.commit(); });
    return fault == (canBeExclusive() ? "" : path + ": can't be written: Operation not permitted") ? 0 : 1;
  });
  EXPECT_EQ(readFile(path), canBeExclusive() ? "abc" : "");
  EXPECT_EQ(listFolder(folder / "").size(), canBeExclusive() ? 1u : 0u);
}

TEST_P(OutputFileOn, HasTheUsualPermissions) {
  for (unsigned int const mask : {0022u, 0077u, 0000u, 0027u}) {
    expectDone([this, mask] {
      ::umask(mask);
      OutputFile file(path, true);
      file.commit();
      return 0;
    });
    struct stat status;
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0666 & ~mask);
  }
}

TEST_P(OutputFileOn, LongestPossibleNames) {
  path = folder / (std::string(251, 'x') + ".npy");
  expectDone([this] {
    for (bool const isReplacing : {false, true}) {
      if (!isReplacing && !canBeExclusive()) continue;
      OutputFile file(path, isReplacing);
      file.write("abc", 3, 0);
      file.commit();
    }
    return 0;
  });
  EXPECT_EQ(readFile(path), "abc");
  EXPECT_EQ(listFolder(folder / "").size(), 1u);
  EXPECT_EQ(getFault([this] { OutputFile(path + "x", true); }), path + "x: can't be written: File name too long");
}

TEST_P(OutputFileOn, SignalsThatEndTheProcessLeaveNothing) {
  for (int const signal : {SIGINT, SIGTERM, SIGHUP}) {
    int const status = runInChild(GetParam(), [this, signal] {
      std::signal(signal, SIG_DFL);
      OutputFile const file(path, true);
      file.write("abc", 3, 0);
      ::raise(signal);
      return 1;
    });
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
    EXPECT_EQ(listFolder(folder / "").size(), 0u);
  }
}

TEST_P(OutputFileOn, IgnoredSignalsStayIgnored) {
  expectDone([this] {
    for (int const signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, SIG_IGN);
    OutputFile file(path, true);
    for (int const signal : {SIGINT, SIGTERM, SIGHUP}) ::raise(signal);
    file.write("abc", 3, 0);
    file.commit();
    return readFile(path) == "abc" ? 0 : 1;
  });
}

TEST_P(OutputFileOn, SignalsAreAsBeforeAfterwards) {
  expectDone([this] {
    for (int const signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, SIG_DFL);
    OutputFile(path, true).commit();
    { OutputFile const unfinished(path, true); }
    for (int const signal : {SIGINT, SIGTERM, SIGHUP}) {
      struct sigaction action;
      ::sigaction(signal, nullptr, &action);
      if (action.sa_handler != SIG_DFL) return 1;
    }
    return 0;
  });
}

TEST_P(OutputFileOn, SmallLimitsAreErrors) {
  writeFile(path, "old");
  expectDone([this] {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit const limit{1000, 1000};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    OutputFile const file(path, true);
    std::string const bytes(1001, 'x');
    if (getFault([&] { file.reserve(1001); }) != path + ": no room for its 1001 bytes: File too large") return 1;
    file.reserve(1000);
    if (getFault([&] { file.write(bytes.data(), 1001, 0); }) != path + ": can't be written: File too large") return 2;
    if (file.tryWrite(bytes.data(), 1001, 0) != EFBIG) return 3;
    return file.tryWrite(bytes.data(), 1000, 0);
  });
  EXPECT_EQ(readFile(path), "old");
  EXPECT_EQ(listFolder(folder / ""), std::vector<std::string>{"file"});
}

class OutputFilePaths : public ::testing::Test {
 protected:
  void expectRefused(std::string const& path, std::string const& why) const {
    auto const names = listFolder(folder / "");
    for (bool const isReplacing : {true, false}) {
      EXPECT_EQ(getFault([&] { OutputFile(path, isReplacing); }), path + ": " + why);
    }
    EXPECT_EQ(listFolder(folder / ""), names);
  }

  TempFolder folder;
};

TEST_F(OutputFilePaths, OnlyRegularFilesAreReplaced) {
  ASSERT_EQ(::mkdir((folder / "folder").c_str(), 0700), 0);
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  ASSERT_EQ(::symlink("folder", (folder / "tofolder").c_str()), 0);
  ASSERT_EQ(::symlink("/dev/null", (folder / "todevice").c_str()), 0);
  ASSERT_EQ(::symlink("nothing", (folder / "tonothing").c_str()), 0);
  ASSERT_EQ(::symlink("loop", (folder / "loop").c_str()), 0);
  writeFile(folder / "file", "x");
  expectRefused(folder / "folder", "is a directory");
  expectRefused(folder / "tofolder", "is a directory");
  expectRefused(folder / "pipe", "not a regular file");
  expectRefused(folder / "todevice", "not a regular file");
  expectRefused("/dev/null", "not a regular file");
  expectRefused(folder / "tonothing", "is a symbolic link to nothing");
  expectRefused(folder / "loop", "is a symbolic link to nothing");
  expectRefused(folder / "missing/file", "can't be written: No such file or directory");
  expectRefused(folder / "file/file", "can't be written: Not a directory");
}

TEST_F(OutputFilePaths, LinksAreFollowed) {
  ASSERT_EQ(::mkdir((folder / "folder").c_str(), 0700), 0);
  writeFile(folder / "folder/file", "old");
  ASSERT_EQ(::symlink("folder/file", (folder / "link").c_str()), 0);
  EXPECT_EQ(getFault([this] { OutputFile(folder / "link", false); }), (folder / "link") + ": already exists");
  OutputFile file(folder / "link", true);
  EXPECT_EQ(file.getPath(), folder / "link");
  file.write("new", 3, 0);
  file.commit();
  struct stat status;
  ASSERT_EQ(::lstat((folder / "link").c_str(), &status), 0);
  EXPECT_TRUE(S_ISLNK(status.st_mode));
  EXPECT_EQ(readFile(folder / "folder/file"), "new");
  EXPECT_EQ(listFolder(folder / "folder"), std::vector<std::string>{"file"});
  EXPECT_EQ(listFolder(folder / ""), (std::vector<std::string>{"folder", "link"}));
}

TEST_F(OutputFilePaths, SomethingInTheWayAtTheEnd) {
  OutputFile file(folder / "file", true);
  ASSERT_EQ(::mkdir((folder / "file").c_str(), 0700), 0);
  EXPECT_EQ(getFault([&file] { file.commit(); }), (folder / "file") + ": can't be written: Is a directory");
}

TEST_F(OutputFilePaths, RoomIsTakenAndZero) {
  OutputFile file(folder / "file", true);
  file.reserve(0);
  file.reserve(1 << 20);
  struct stat status;
  ASSERT_EQ(::fstat(file.getDescriptor(), &status), 0);
  EXPECT_EQ(status.st_size, 1 << 20);
  EXPECT_GE(status.st_blocks * 512, 1 << 20);
  file.commit();
  EXPECT_TRUE(readFile(folder / "file") == std::string(1 << 20, '\0'));
}

}  // namespace
