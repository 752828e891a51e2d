// Images of integers never exist as reals.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "instrument/Sanitized.h"
#include "support/Runs.h"

namespace filtering_test {
namespace {

long getPeakOfResidentKilobytes() {
  rusage usage;
  ::getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

class FirMemory : public PluginTest {
 protected:
  /** Kilobytes by which a run of 3x3 taps raises the peak of a process of its own. */
  static long measurePeak(pxl::VoxelTypes type, bool isInPlace) {
    int ends[2];
    if (::pipe(ends) != 0) throw std::runtime_error("no pipe");
    pid_t const child = ::fork();
    if (child == 0) {
      auto const input = pxl::Image::New(type, {4096, 4096, 1, 1, 1});
      auto const output = isInPlace ? input : pxl::Image::New(type, {4096, 4096, 1, 1, 1});
      for (auto const& image : {input, output})
        std::memset(image->getVoxels(), 1, 4096 * 4096 * pxl::helper::getSizeOf(type));
      Taps taps;
      for (long row = -1; row <= 1; ++row)
        for (long col = -1; col <= 1; ++col) taps.push_back({col, row, 0, 1. / 9});
      long const before = getPeakOfResidentKilobytes();
      withThreads(2, [&] { run(2, taps, input.get(), output.get()); });
      long const peak = getPeakOfResidentKilobytes() - before;
      ssize_t const written = ::write(ends[1], &peak, sizeof peak);
      ::_exit(written == sizeof peak ? 0 : 1);
    }
    ::close(ends[1]);
    long peak = -1;
    ssize_t const got = ::read(ends[0], &peak, sizeof peak);
    ::close(ends[0]);
    ::waitpid(child, nullptr, 0);
    if (got != sizeof peak) throw std::runtime_error("the child failed");
    return peak;
  }
};

// In a process that has not run anything yet: children of one that has must not run.
TEST_F(FirMemory, ApartTakesNoCopyAndInPlaceOneOfTheImagesType) {
  if (host_test::isSanitized()) GTEST_SKIP() << "the sanitizer has memory of its own";
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  auto const expectPeaks = [] {
    constexpr long cMegabyte = 1024;
    for (auto const& [type, megabytes] :
         {std::pair<pxl::VoxelTypes, long>{pxl::cUnsignedInteger8, 16}, {pxl::cInteger16, 32}, {pxl::cFloat, 64}}) {
      EXPECT_LT(measurePeak(type, false), 6 * cMegabyte) << type;
      long const inPlace = measurePeak(type, true);
      EXPECT_GT(inPlace, megabytes * cMegabyte / 2) << type;
      // A quarter of the rows are held back as reals at most, in blocks of eight rows; a copy as reals would be 64
      // more.
      EXPECT_LT(inPlace, (megabytes + 24) * cMegabyte) << type;
    }
    ::_exit(HasFailure() ? 1 : 0);
  };
  EXPECT_EXIT(expectPeaks(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace filtering_test
