#include <sys/inotify.h>
#include <unistd.h>

#include "support/Files.h"
#include "support/Npy.h"
#include "support/Qorn.h"

namespace {

using namespace test;

TEST(KernelFile, IsOpenedOnce) {
  // A second look could find another file under the name, whose sizes don't fit those of the first.
  TempFolder folder;
  std::string const input = folder / "input.npy", output = folder / "output.npy", kernel = folder / "kernel.npy";
  writeFile(input, makeNpy("<f4", "(2, 3)", std::vector<float>{1, 2, 3, 4, 5, 6}));
  for (std::string const descr : {"<f8", ">f8"}) {
    writeFile(kernel, makeNpy(descr, "(1, 3)", std::vector<double>{1, 0, 10}));
    int const events = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    ASSERT_GE(::inotify_add_watch(events, kernel.c_str(), IN_OPEN | IN_CLOSE), 0);
    EXPECT_EQ(runQorn({"run", "FiniteImpulseResponseFilter2D", input, output, "kernel=" + kernel}).exitCode, 0);
    EXPECT_TRUE(readFile(output) == makeNpy("<f4", "(2, 3)", std::vector<float>{22, 31, 22, 55, 64, 55}));
    alignas(inotify_event) char buffer[16 * sizeof(inotify_event)];
    EXPECT_EQ(::read(events, buffer, sizeof buffer), static_cast<ssize_t>(2 * sizeof(inotify_event)));
    ::close(events);
  }
}

}  // namespace
