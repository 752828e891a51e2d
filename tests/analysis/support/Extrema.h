#pragma once

#include <memory>
#include <string>

#include "instrument/Recorder.h"
#include "instrument/ShippedPaths.h"
#include "instrument/Threads.h"
#include "oracle/HostImages.h"
#include "oracle/Oracle.h"
#include "pxl/AlgoInfo.h"
#include "pxl/Plugins.h"
#include "pxl/Runnable.h"
#include "pxl/analysis/IntensityExtrema.h"

namespace analysis_test {

using pxl::instrument::withThreads;
using Grains = pxl::AbstractPartitionerPolicy::PartitionerGrainSizes;

/** The runner of the shipped plug-in. */
inline pxl::Runnable& getShippedRunner() {
  pxl::plugins::load(shipped::getPlugin());
  return *pxl::AlgoInfo::find("IntensityExtrema")->getRunners().at(0);
}

/** An algorithm on the shipped plug-in with a measure of its own, and a recorder that doesn't trace. */
class ExtremaTest : public testing::Test {
 protected:
  ExtremaTest() {
    getShippedRunner();
    probe.isTracing = false;
    algorithm.outputMeasure = &measure;
  }

  void measureImage(pxl::ImageModel const& image, int mask, int nbThreads = 2) {
    algorithm.inputImage = &image;
    algorithm.analysisDimensions = mask;
    withThreads(nbThreads, [this] { algorithm.execute(); });
  }

  void expectMeasured(oracle::Extrema const& expected, std::string const& what = {}) const {
    for (unsigned int d = 0; d < 3; ++d) {
      ASSERT_EQ(measure.minimum.getSize(d), static_cast<unsigned long>(expected.cells[d])) << what;
      ASSERT_EQ(measure.maximum.getSize(d), static_cast<unsigned long>(expected.cells[d])) << what;
    }
    for (long i2 = 0; i2 < expected.cells[2]; ++i2)
      for (long i1 = 0; i1 < expected.cells[1]; ++i1)
        for (long i0 = 0; i0 < expected.cells[0]; ++i0) expectCell(expected, i0, i1, i2, what);
  }

  void expectCell(oracle::Extrema const& expected, long i0, long i1, long i2, std::string const& what = {}) const {
    auto const u = [](long i) { return static_cast<unsigned long>(i); };
    unsigned long const cell = expected.indexOf(i0, i1, i2);
    ASSERT_EQ(measure.minimum.getValue(u(i0), u(i1), u(i2)), expected.minimum[cell]) << what;
    ASSERT_EQ(measure.maximum.getValue(u(i0), u(i1), u(i2)), expected.maximum[cell]) << what;
  }

  void expectNothingAlive() const {
    EXPECT_EQ(probe.nbViews(), 0);
    EXPECT_EQ(probe.nbBorders(), 0);
    EXPECT_EQ(probe.nbFrames(), 0);
  }

  pxl::instrument::Recorder probe;
  pxl::analysis::IntensityExtrema algorithm;
  pxl::analysis::IntensityExtremaMsr measure;
};

/** Random voxels that never reach the ends of the range, with both extremes on edge columns at times. */
template <class T>
oracle::Image<T> makeImage(oracle::Random& random, oracle::Five const& sizes) {
  bool const isUnsigned = !std::is_signed_v<T>;
  bool const isReal = std::is_floating_point_v<T>;
  double const span = isReal ? 1e6 : static_cast<double>(std::numeric_limits<T>::max());
  long const high = static_cast<long>(span * 0.7);
  long const low = isUnsigned ? static_cast<long>(span * 0.1) : -high;
  auto image = random.imageWithin<T>(sizes, low, high);
  auto const anyRow = [&](long col) {
    oracle::Five at{col, 0, 0, 0, 0};
    for (unsigned long d = 1; d < 5; ++d) at[d] = random.number(0, sizes[d] - 1);
    return at;
  };
  if (random.number(0, 1)) image.at(anyRow(sizes[0] - 1)) = static_cast<T>(high + 2);
  if (random.number(0, 1)) image.at(anyRow(random.number(0, 1) ? 0 : sizes[0] - 1)) = static_cast<T>(low - 2);
  return image;
}

}  // namespace analysis_test
