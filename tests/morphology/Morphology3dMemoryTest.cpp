// What a pass over a volume keeps beside its images.
#include <sys/resource.h>

#include <atomic>

#include "instrument/Sanitized.h"
#include "support/Runs.h"

namespace morphology_test {
namespace {

/** Counts what is held back. */
class HoldingProbe : public pxl::instrument::Probe {
 public:
  HoldingProbe() { pxl::instrument::setProbe(this); }
  ~HoldingProbe() override { pxl::instrument::setProbe(nullptr); }
  void onTemporize(void const*, long count, long, long, long, long, long) override {
    nbVoxels += count;
    ++nbPieces;
  }
  std::atomic<long> nbVoxels{0};
  std::atomic<long> nbPieces{0};
};

class Morphology3dMemory : public PluginTest {};

TEST_F(Morphology3dMemory, InPlaceIsASmallShareOfTheImage) {
  constexpr long cImageBytes = 256 * 256 * 256;
  auto const image = pxl::Image::New(pxl::cUnsignedInteger8, {256, 256, 256, 1, 1});
  for (int neighborhood : {0, 1, 2})
    for (int nbThreads : {1, 2, 4}) {
      HoldingProbe probe;
      withThreads(nbThreads, [&] {
        makeAlgorithm(Way{Operation::cDilation, neighborhood, 1, true, 0, 3}, image.get(), image.get())->execute();
      });
      // Seven numbers for where each piece belongs.
      EXPECT_LT(probe.nbVoxels + 56 * probe.nbPieces, cImageBytes / 5) << nbThreads << " threads";
      EXPECT_GT(probe.nbVoxels, 0);
    }
}

long getPeakOfResidentKilobytes() {
  rusage usage;
  ::getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

TEST_F(Morphology3dMemory, ApartDoesNotGrowWithTheDepth) {
  if (host_test::isSanitized()) GTEST_SKIP() << "the sanitizer has memory of its own";
  // The thin image first: a peak that was reached before would hide what the deep one takes.
  auto const peakOf = [](unsigned long nbPlans) {
    auto const input = pxl::Image::New(pxl::cUnsignedInteger16, {256, 256, nbPlans, 1, 1});
    auto const output = pxl::Image::New(pxl::cUnsignedInteger16, {256, 256, nbPlans, 1, 1});
    unsigned long const nbBytes = 256 * 256 * nbPlans * 2;
    std::memset(input->getVoxels(), 1, nbBytes);
    std::memset(output->getVoxels(), 1, nbBytes);
    long const before = getPeakOfResidentKilobytes();
    withThreads(2, [&] {
      makeAlgorithm(Way{Operation::cDilation, 2, 1, false, 0, 3}, input.get(), output.get())->execute();
    });
    return getPeakOfResidentKilobytes() - before;
  };
  // Two threads with rings of four planes of at most 64 rows each: less than a megabyte, at any depth.
  long const ofThin = peakOf(64), ofDeep = peakOf(512);
  EXPECT_LT(ofThin, 4096);
  EXPECT_LT(ofDeep, 4096);
}

}  // namespace
}  // namespace morphology_test
