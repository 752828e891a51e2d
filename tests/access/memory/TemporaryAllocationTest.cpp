// Temporary images on disk when memory runs out: no descriptor may stay open.
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>

#include "access/memory/MallocHook.h"
#include "pxl/io/TemporaryImage.h"

namespace access_test {
namespace {

long countOpenFiles() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

TEST(TemporaryAllocation, ThatFailsLeavesNoFileOpen) {
  if (!isMallocHooked()) GTEST_SKIP() << "the sanitizer has the allocator";
  long const nbBefore = countOpenFiles();
  auto const temporary = pxl::io::TemporaryImage::New(pxl::io::cOnDisk);
  bool isReserved = false;
  long nbFailures = 0;
  for (; !isReserved; ++nbFailures) {
    MallocWatch watch;
    watch.failAt = nbFailures;
    isReserved = temporary->reserve(pxl::cUnsignedInteger8, 100, 3, 1, 1, 1);
    watch.stop();
    EXPECT_EQ(isReserved, watch.nbFailed == 0);
    EXPECT_EQ(countOpenFiles(), nbBefore + isReserved) << "request " << nbFailures;
    ASSERT_LT(nbFailures, 100);
  }
  // The storage, the image, and the names of folder and file.
  EXPECT_GE(nbFailures, 3);
}

}  // namespace
}  // namespace access_test
