#include <gtest/gtest.h>

#include "ControlGroups.h"
#include "support/Folder.h"

namespace {

using namespace host_test;

constexpr unsigned long cUnlimited = ~0UL;

/** A fake file system with the groups of a process and their memory. */
class ControlGroups : public ::testing::Test {
 protected:
  void putProcessInto(std::string const& lines) {
    std::filesystem::create_directories(folder / "proc/self");
    writeFile(folder / "proc/self/cgroup", lines);
  }
  void makeGroup(std::string const& path, std::string const& limit, unsigned long used,
                 std::string const& stat = "") {
    std::string const group = folder / "sys/fs/cgroup" + path + "/";
    std::filesystem::create_directories(group);
    writeFile(group + "memory.max", limit + "\n");
    writeFile(group + "memory.current", std::to_string(used) + "\n");
    if (!stat.empty()) writeFile(group + "memory.stat", stat);
  }
  unsigned long getAvailable() const { return pxl::getAvailableOfGroups(folder.path()); }

  Folder folder;
};

TEST_F(ControlGroups, GiveTheirLimitWithoutWhatIsUsed) {
  putProcessInto("0::/\n");
  makeGroup("", "1000", 300);
  EXPECT_EQ(getAvailable(), 700u);
  makeGroup("", "1000", 1000);
  EXPECT_EQ(getAvailable(), 0u);
  makeGroup("", "1000", 1001);
  EXPECT_EQ(getAvailable(), 0u);
  makeGroup("", "0", 0);
  EXPECT_EQ(getAvailable(), 0u);
}

TEST_F(ControlGroups, CountThePagesOfFilesAsFree) {
  putProcessInto("0::/\n");
  makeGroup("", "1000", 900, "anon 100\nfile 800\nshmem 50\ninactive_anon 60\ninactive_file 500\nactive_file 250\n");
  EXPECT_EQ(getAvailable(), 850u);
  // The numbers are read one after the other.
  makeGroup("", "1000", 700, "inactive_file 500\nactive_file 250\n");
  EXPECT_EQ(getAvailable(), 1000u);
  makeGroup("", "1000", 2000, "inactive_file 500\nactive_file 250\n");
  EXPECT_EQ(getAvailable(), 0u);
}

TEST_F(ControlGroups, AreThoseOfTheProcessAndAllAboveIt) {
  putProcessInto("1:name=old:/elsewhere\n0::/a.slice/b/c.scope\n");
  makeGroup("/a.slice/b/c.scope", "5000", 1000);
  makeGroup("/elsewhere", "10", 10);
  makeGroup("/a.slice/b", "max", 4000);
  EXPECT_EQ(getAvailable(), 4000u);
  makeGroup("/a.slice", "9000", 6000, "inactive_file 20\nactive_file 3\n");
  EXPECT_EQ(getAvailable(), 3023u);
  makeGroup("", "7000", 6999);
  EXPECT_EQ(getAvailable(), 1u);
  makeGroup("/a.slice/b", "4000", 4000);
  EXPECT_EQ(getAvailable(), 0u);
}

TEST_F(ControlGroups, MayHaveNames) {
  putProcessInto("0::/user:1/with space\n");
  makeGroup("/user:1/with space", "70", 0);
  EXPECT_EQ(getAvailable(), 70u);
}

TEST_F(ControlGroups, WithoutALimitAreUnlimited) {
  EXPECT_EQ(getAvailable(), cUnlimited);
  putProcessInto("");
  EXPECT_EQ(getAvailable(), cUnlimited);
  putProcessInto("0::/a/b\n");
  EXPECT_EQ(getAvailable(), cUnlimited);
  makeGroup("/a/b", "max", 100);
  makeGroup("/a", "max", 100);
  EXPECT_EQ(getAvailable(), cUnlimited);
  std::filesystem::remove(folder / "sys/fs/cgroup/a/b/memory.current");
  writeFile(folder / "sys/fs/cgroup/a/b/memory.max", "5");
  EXPECT_EQ(getAvailable(), cUnlimited);
}

// A process that was moved out of what it can see of the tree of groups.
TEST_F(ControlGroups, BeyondTheVisibleOnesCountAsItsRoot) {
  putProcessInto("0::/../../other\n");
  makeGroup("", "1000", 300);
  std::filesystem::create_directories(folder / "sys/other");
  writeFile(folder / "sys/other/memory.max", "1");
  writeFile(folder / "sys/other/memory.current", "1");
  EXPECT_EQ(getAvailable(), 700u);
}

}  // namespace
