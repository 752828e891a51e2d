#include <sstream>

#include "pxl/access/View.h"
#include "support/Runs.h"

namespace morphology_test {
namespace {

using View = pxl::access::View<unsigned char>;

/** The passes of a run, as "input>output" and so on, and "flush", read from the trace of a run on one thread. */
class Morphology2dPasses : public PluginTest {
 protected:
  Morphology2dPasses() { recorder.grains = {100, 100, 100}; }

  std::string runAndTrace(Way const& way, Five const& sizes = {4, 3, 1, 1, 1}) {
    auto const input = pxl::Image::New(pxl::cUnsignedInteger8, oracle::toHostSizes(sizes));
    auto const output = way.isInPlace ? input : pxl::Image::New(pxl::cUnsignedInteger8, oracle::toHostSizes(sizes));
    auto const border = pxl::access::FixedBorderCondition<unsigned char>::New(0);
    // Held for the whole run, so that the addresses of the interfaces tell the images apart.
    auto const inputView = View::New(static_cast<pxl::ImageModel const*>(input.get()), border);
    auto const outputView = View::New(static_cast<pxl::ImageModel const*>(output.get()), border);
    auto const algorithm = makeAlgorithm(way, input.get(), output.get());
    recorder.clear();
    withThreads(1, [&] { algorithm->execute(); });
    auto const nameOf = [&](void const* object) -> std::string {
      if (object == outputView->getInterface()) return way.isInPlace ? "image" : "output";
      return object == inputView->getInterface() ? "input" : "temporary";
    };
    std::string passes, source, target;
    auto const finish = [&] {
      if (!target.empty()) passes += (passes.empty() ? "" : " ") + source + ">" + target;
      target.clear();
    };
    for (pxl::instrument::Event const& event : recorder.getTrace()) {
      if (event.name == "readRowAt") {
        // A pass begins with the row above the image.
        if (event.values[2] == -1) finish();
        source = nameOf(event.object);
      } else if (event.name == "writeRowAt") {
        target = nameOf(event.object);
      } else if (event.name == "writeAllTemporizedRows") {
        finish();
        passes += " flush(" + nameOf(event.object) + ")";
      }
    }
    finish();
    return passes;
  }

  static Way apart(unsigned int nbIterations, bool hasTemporary) {
    return {Operation::cDilation, 0, nbIterations, false, hasTemporary ? 1UL << 20 : 0};
  }
  static Way inPlace(unsigned int nbIterations, bool hasTemporary) {
    return {Operation::cDilation, 1, nbIterations, true, hasTemporary ? 1UL << 20 : 0};
  }

  pxl::instrument::Recorder recorder;
};

TEST_F(Morphology2dPasses, TakeTurnsBetweenTemporaryAndOutput) {
  EXPECT_EQ(runAndTrace(apart(1, true)), "input>output");
  EXPECT_EQ(runAndTrace(apart(2, true)), "input>temporary temporary>output flush(output)");
  EXPECT_EQ(runAndTrace(apart(3, true)),
            "input>output output>temporary flush(output) temporary>output flush(output)");
  EXPECT_EQ(runAndTrace(apart(4, true)),
            "input>temporary temporary>output flush(output) output>temporary flush(output) temporary>output "
            "flush(output)");
}

TEST_F(Morphology2dPasses, WorkInPlaceWithoutTemporary) {
  EXPECT_EQ(runAndTrace(apart(1, false)), "input>output");
  EXPECT_EQ(runAndTrace(apart(3, false)), "input>output output>output flush(output) output>output flush(output)");
}

TEST_F(Morphology2dPasses, OfOneImageFlushAfterEachPass) {
  EXPECT_EQ(runAndTrace(inPlace(1, true)), "image>image flush(image)");
  EXPECT_EQ(runAndTrace(inPlace(2, true)), "image>temporary flush(image) temporary>image flush(image)");
  EXPECT_EQ(runAndTrace(inPlace(3, true)),
            "image>image flush(image) image>temporary flush(image) temporary>image flush(image)");
  EXPECT_EQ(runAndTrace(inPlace(2, false)), "image>image flush(image) image>image flush(image)");
}

TEST_F(Morphology2dPasses, OfASliceAreDoneBeforeTheNextSliceBegins) {
  EXPECT_EQ(runAndTrace(apart(2, true), {4, 3, 2, 1, 1}),
            "input>temporary temporary>output flush(output) input>temporary temporary>output flush(output)");
  std::vector<std::array<long, 3>> slices;
  runAndTrace(apart(1, true), {4, 1, 2, 2, 2});
  for (auto const& event : recorder.getTrace("writeRowAt"))
    slices.push_back({event.values[3], event.values[4], event.values[5]});
  std::vector<std::array<long, 3>> const expected{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0},
                                                  {0, 0, 1}, {1, 0, 1}, {0, 1, 1}, {1, 1, 1}};
  EXPECT_EQ(slices, expected);
}

TEST_F(Morphology2dPasses, UseOneTemporaryOfTheWholeRegionForAllSlices) {
  runAndTrace(apart(2, true), {5, 4, 3, 2, 2});
  ASSERT_EQ(recorder.count("TemporaryImage::New"), 1u);
  EXPECT_EQ(recorder.getTrace("TemporaryImage::New")[0].values, (std::vector<long>{1}));
  EXPECT_EQ(recorder.getTrace("reserve")[0].values, (std::vector<long>{pxl::cUnsignedInteger8, 5, 4, 3, 2, 2}));
  EXPECT_EQ(recorder.nbTemporaries(), 0);
}

TEST_F(Morphology2dPasses, MakeATemporaryOnlyStrictlyBelowTheLimit) {
  // 5 x 4 x 3 voxels of one byte.
  for (auto const& [limit, count] : {std::pair{60UL, 0UL}, {61UL, 1UL}, {59UL, 0UL}}) {
    Way way = apart(2, true);
    way.extraMemory = limit;
    runAndTrace(way, {5, 4, 3, 1, 1});
    EXPECT_EQ(recorder.count("TemporaryImage::New"), count) << limit;
  }
  runAndTrace(apart(1, true), {5, 4, 3, 1, 1});
  EXPECT_EQ(recorder.count("TemporaryImage::New"), 0u) << "one pass needs none";
  EXPECT_EQ(recorder.count("getMaximumExtraMemoryUsageInBytes"), 0u);
}

TEST_F(Morphology2dPasses, OnDiskAskTheSettingAndNothingElse) {
  recorder.isOnDisk = true;
  for (unsigned int nbIterations : {0U, 1U, 2U}) {
    runAndTrace(apart(nbIterations, false));
    ASSERT_EQ(recorder.count("TemporaryImage::New"), 1u) << nbIterations;
    EXPECT_EQ(recorder.getTrace("TemporaryImage::New")[0].values, (std::vector<long>{2}));
    EXPECT_EQ(recorder.getTrace("getValueAsBool")[0].text, "PXL_RECURSIVITY_TMP_DISK_IMAGE");
    EXPECT_EQ(recorder.getTrace("getValueAsBool")[0].values, (std::vector<long>{1})) << "the default";
    EXPECT_EQ(recorder.count("getMaximumExtraMemoryUsageInBytes"), 0u);
  }
  recorder.setting = false;
  EXPECT_EQ(runAndTrace(apart(2, true)), "input>output output>output flush(output)");
  EXPECT_EQ(recorder.count("TemporaryImage::New"), 0u) << "memory isn't tried instead";
}

TEST_F(Morphology2dPasses, DeclareTheirWorkAndReachIt) {
  runAndTrace(apart(3, true), {5, 4, 3, 2, 1});
  ASSERT_EQ(recorder.count("setMaxProgress"), 1u);
  EXPECT_EQ(recorder.getTrace("setMaxProgress")[0].values, (std::vector<long>{3 * 5 * 4 * 3 * 2}));
  EXPECT_EQ(recorder.count("getPartitionerGrainSizes"), 1u);
  runAndTrace(apart(0, true));
  EXPECT_EQ(recorder.getTrace("setMaxProgress")[0].values, (std::vector<long>{0}));
}

TEST_F(Morphology2dPasses, ReadEachRowOnceAndWriteEachRowOnce) {
  for (int neighborhood : {0, 1}) {
    Way way = apart(1, true);
    way.neighborhood = neighborhood;
    runAndTrace(way, {7, 6, 1, 1, 1});
    auto const reads = recorder.getTrace("readRowAt");
    ASSERT_EQ(reads.size(), 8u) << "the rows of the block and one on either side";
    for (unsigned long i = 0; i < reads.size(); ++i)
      EXPECT_EQ(reads[i].values, (std::vector<long>{9, -1, static_cast<long>(i) - 1, 0, 0, 0}));
    auto const writes = recorder.getTrace("writeRowAt");
    ASSERT_EQ(writes.size(), 6u);
    for (unsigned long i = 0; i < writes.size(); ++i)
      EXPECT_EQ(writes[i].values, (std::vector<long>{7, 0, static_cast<long>(i), 0, 0, 0}));
    EXPECT_EQ(recorder.count("temporizeRowWriting"), 0u);
  }
}

TEST_F(Morphology2dPasses, FetchTheNextRowBeforeTheFinishedOneIsWritten) {
  for (int neighborhood : {0, 1}) {
    Way way = inPlace(1, true);
    way.neighborhood = neighborhood;
    runAndTrace(way, {7, 6, 1, 1, 1});
    // The square reads the row below for the row that it computes, the cross for the next one.
    long const ahead = neighborhood == 0 ? 2 : 1;
    long lastRead = -2;
    for (auto const& event : recorder.getTrace()) {
      if (event.name == "readRowAt") lastRead = event.values[2];
      if (event.name == "writeRowAt") {
        EXPECT_EQ(lastRead, std::min(event.values[2] + ahead, 6L));
      }
    }
  }
}

TEST_F(Morphology2dPasses, OfOneImageHoldBackTheEdgesBetweenBlocks) {
  recorder.grains = {4, 4, 1};
  runAndTrace(inPlace(1, true), {8, 8, 1, 1, 1});
  // Each block of 4 x 4 keeps the row and the column that face its neighbours: 4 + 3 voxels.
  long nbHeldBack = 0, nbWritten = 0;
  bool isFlushed = false;
  for (auto const& event : recorder.getTrace()) {
    isFlushed = isFlushed || event.name == "writeAllTemporizedRows";
    if (event.name == "temporizeRowWriting") nbHeldBack += event.values[0];
    if (event.name == "writeRowAt" && !isFlushed) nbWritten += event.values[0];
  }
  EXPECT_EQ(nbHeldBack, 4 * 7);
  EXPECT_EQ(nbWritten, 64 - 4 * 7);
}

TEST_F(Morphology2dPasses, ShareTheBorderOfTheOutputWithTheTemporary) {
  runAndTrace(apart(2, true));
  // Two border conditions beside the test's own, for three views.
  EXPECT_EQ(recorder.count("BorderCondition::New"), 2u);
  EXPECT_EQ(recorder.count("View::New"), 3u);
}

TEST_F(Morphology2dPasses, MakeAtMostOneCacheForEachThreadAndPassOfTheSquare) {
  recorder.grains = {2, 2, 1};
  Way way = apart(3, true);
  way.neighborhood = 1;
  runAndTrace(way, {16, 16, 1, 1, 1});
  EXPECT_EQ(recorder.count("createRowCacheRead"), 3u);
  EXPECT_EQ(recorder.count("createRowCacheReadWrite"), 3u);
}

}  // namespace
}  // namespace morphology_test
