// Reserving space in files while signals come.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "pxl/io/TemporaryImage.h"
#include "support/Folder.h"
#include "support/Images.h"

namespace {

int nbInterruptions = 0;  ///< to come
int nbCalls = 0;

}  // namespace

/** In the place of the system's, for the host as well. */
extern "C" __attribute__((visibility("default"))) int posix_fallocate(int file, off_t offset, off_t bytes) {
  ++nbCalls;
  if (nbInterruptions > 0) {
    --nbInterruptions;
    return EINTR;
  }
  auto const real = reinterpret_cast<int (*)(int, off_t, off_t)>(::dlsym(RTLD_NEXT, "posix_fallocate"));
  return real(file, offset, bytes);
}

namespace {

using namespace host_test;

TEST(Space, IsReservedHoweverOftenASignalComes) {
  Folder const folder;
  nbInterruptions = 3;
  nbCalls = 0;
  auto const image =
      pxl::Image::OnDisk(folder / "image", pxl::FileModes::cCreate, pxl::cUnsignedInteger16, {100, 3, 1, 1, 1});
  EXPECT_EQ(nbCalls, 4);
  EXPECT_EQ(readFile(folder / "image"), std::string(600, '\0'));

  nbInterruptions = 3;
  auto const temporary = pxl::io::TemporaryImage::New(pxl::io::cOnDisk);
  EXPECT_TRUE(temporary->reserve(pxl::cDouble, 100, 3, 1, 1, 1));
  EXPECT_EQ(nbCalls, 8);
}

}  // namespace
