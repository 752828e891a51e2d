// The calls of the plug-in to the host, their order, and what remains afterwards.
#include <sys/mman.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>

#include "analysis/support/Extrema.h"
#include "frame/support/FakeImage.h"
#include "pxl/Exception.h"
#include "pxl/morphology/Morphology.h"

namespace analysis_test {
namespace {

using frame_test::FakeImage;
using pxl::instrument::Event;

class ExtremaCalls : public ExtremaTest {
 protected:
  ExtremaCalls() {
    probe.isTracing = true;
    probe.grains = {1000, 1000, 1000};
    algorithm.inputImage = image.get();
  }
  void run(int mask) {
    algorithm.analysisDimensions = mask;
    probe.clear();
    withThreads(1, [this] { getShippedRunner().run(&algorithm); });
  }

  oracle::Random random{1401};
  std::shared_ptr<pxl::Image> image = oracle::toHost(makeImage<short>(random, {20, 2, 3, 1, 1}));
};

TEST_F(ExtremaCalls, FollowTheirOrder) {
  run(1);
  std::vector<std::string> names;
  for (Event const& event : probe.getTrace())
    // The host itself looks up the record when it chooses the grain sizes.
    if (event.name != "getClassInfo") names.push_back(event.name == "propertyRead" ? event.text : event.name);
  std::vector<std::string> expected{
      "inputImage", "outputMeasure", "analysisDimensions", "inputImage", "setNumberOfSteps", "resize", "resize"};
  for (int plan = 0; plan < 3; ++plan)
    for (char const* name : {"BorderCondition::New", "View::New", "runChildAlgo", "setMaxProgress",
                             "getPartitionerGrainSizes", "createRowCacheRead", "readRowAt", "readRowAt"})
      expected.emplace_back(name);
  EXPECT_EQ(names, expected);
  auto const resizes = probe.getTrace("resize");
  EXPECT_EQ(resizes.at(0).object, &measure.minimum);
  EXPECT_EQ(resizes.at(1).object, &measure.maximum);
  EXPECT_EQ(probe.getTrace("setNumberOfSteps").at(0).values, std::vector<long>{3});
  for (Event const& event : probe.getTrace("setMaxProgress")) EXPECT_EQ(event.values, std::vector<long>{40});
  for (Event const& event : probe.getTrace("createRowCacheRead")) EXPECT_EQ(event.values, std::vector<long>{1});
  for (Event const& event : probe.getTrace("View::New")) EXPECT_EQ(event.values, std::vector<long>{pxl::cInteger16});
}

/** Keeps the window of each image that a view is made on. */
class WindowProbe : public pxl::instrument::Recorder {
 public:
  std::vector<std::vector<unsigned long>> windows;
  void onViewNew(pxl::ImageModel const* model, void const* border, pxl::VoxelTypes type) override {
    auto const source = model->getSource();
    std::vector<unsigned long> window;
    for (int d = 0; d < 5; ++d) {
      EXPECT_EQ(model->getNumOf(static_cast<pxl::Components>(d)), source.size[d]);
      window.push_back(source.begin[d]);
      window.push_back(source.size[d]);
    }
    windows.push_back(window);
    Recorder::onViewNew(model, border, type);
  }
};

// Plans outermost, then sequence, then spectral series; each cell its own window, spanning what isn't asked for.
TEST_F(ExtremaCalls, MakeOneWindowForEachCell) {
  unsigned long const n[] = {5, 4, 3, 2, 4};
  auto const wide = oracle::toHost(makeImage<int>(random, {5, 4, 3, 2, 4}));
  algorithm.inputImage = wide.get();
  for (int mask = 0; mask < 8; ++mask) {
    WindowProbe windowProbe;
    algorithm.analysisDimensions = mask;
    getShippedRunner().run(&algorithm);
    bool const perPlan = mask & 1, perSequence = mask & 4, perSpectral = mask & 2;
    std::vector<std::vector<unsigned long>> expected;
    for (unsigned long i0 = 0; i0 < (perPlan ? n[2] : 1); ++i0)
      for (unsigned long i1 = 0; i1 < (perSequence ? n[3] : 1); ++i1)
        for (unsigned long i2 = 0; i2 < (perSpectral ? n[4] : 1); ++i2)
          expected.push_back(
              {0, n[0], 0, n[1], i0, perPlan ? 1 : n[2], i1, perSequence ? 1 : n[3], i2, perSpectral ? 1 : n[4]});
    EXPECT_EQ(windowProbe.windows, expected) << mask;
    EXPECT_EQ(windowProbe.getTrace("setNumberOfSteps").at(0).values,
              std::vector<long>{static_cast<long>(expected.size())});
    for (char const* name : {"BorderCondition::New", "View::New", "runChildAlgo", "getPartitionerGrainSizes"})
      EXPECT_EQ(windowProbe.count(name), expected.size()) << name;
  }
  pxl::instrument::setProbe(&probe);
}

// The surplus of a row's last vector repeats the last voxel: another border's value would be the result.
TEST_F(ExtremaCalls, ContinueTheImageBeyondItsEdge) {
  for (short value : {short(-500), short(500)}) {
    oracle::Image<short> narrow({3, 2, 1, 1, 1});
    std::fill(narrow.voxels.begin(), narrow.voxels.end(), value);
    measureImage(*oracle::toHost(narrow), 0);
    EXPECT_EQ(probe.getTrace("readRowAt").at(0).values.at(0), 8);
    EXPECT_EQ(measure.minimum.getValue(0, 0, 0), value);
    EXPECT_EQ(measure.maximum.getValue(0, 0, 0), value);
  }
}

// However TBB splits: each row is read in whole vectors from the begin of its block, and no voxel is skipped.
TEST_F(ExtremaCalls, ReadWholeVectorsWhereverTheImageIsCut) {
  probe.grains = {6, 1, 1};
  run(0);
  oracle::Image<short> seen({20, 2, 3, 1, 1});
  bool isCutAcross = false;
  for (Event const& read : probe.getTrace("readRowAt")) {
    EXPECT_EQ(read.values[0] % 8, 0);
    EXPECT_LT(read.values[0], 20 + 8);
    isCutAcross = isCutAcross || read.values[1] > 0;
    for (long c = read.values[1]; c < std::min(20L, read.values[1] + read.values[0]); ++c)
      seen.at({c, read.values[2], read.values[3], 0, 0}) = 1;
  }
  EXPECT_TRUE(isCutAcross);
  EXPECT_EQ(std::count(seen.voxels.begin(), seen.voxels.end(), 1), 20 * 2 * 3);
}

TEST_F(ExtremaCalls, AreTheSameInEachOfTwoEqualRuns) {
  auto const describe = [this] {
    std::vector<std::string> lines;
    for (Event const& event : probe.getTrace()) {
      std::string line = event.name + " " + event.text;
      for (long value : event.values) line += " " + std::to_string(value);
      lines.push_back(line);
    }
    return lines;
  };
  probe.grains = {3, 1, 2};
  run(5);
  auto const first = describe();
  EXPECT_GT(first.size(), 20U);
  run(5);
  EXPECT_EQ(describe(), first);
}

TEST_F(ExtremaCalls, ReadNoSettingAndWriteNothing) {
  run(7);
  EXPECT_EQ(probe.count("getValueAsBool"), 0U);
  EXPECT_EQ(probe.count("hasPropertyImageOnDisk"), 0U);
  EXPECT_EQ(probe.count("propertyWrite"), 0U);
  EXPECT_EQ(probe.count("writeRowAt"), 0U);
}

TEST_F(ExtremaCalls, EndWithTheRun) {
  probe.grains = {1, 1, 1};
  auto const expectSilence = [this] {
    auto const count = probe.getTrace().size();
    expectNothingAlive();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(probe.getTrace().size(), count);
    probe.clear();
  };
  auto const execute = [this] { withThreads(16, [this] { algorithm.execute(); }); };
  execute();
  expectSilence();
  std::atomic<int> nbReads{0};
  probe.onRead = [&nbReads, this](Event const&) {
    if (++nbReads == 10) algorithm.cancelExecution();
  };
  EXPECT_THROW(execute(), pxl::ExceptionCancelation);
  expectSilence();
  nbReads = 0;
  probe.onRead = [&nbReads](Event const&) {
    if (++nbReads == 10) throw std::runtime_error("a row is missing");
  };
  EXPECT_THROW(execute(), std::runtime_error);
  expectSilence();
}

TEST_F(ExtremaCalls, IgnoreTheComplexTypes) {
  for (int type : {10, 11}) {
    FakeImage const fake(type);
    algorithm.inputImage = &fake;
    EXPECT_NO_THROW(run(7));
    EXPECT_EQ(probe.count("resize"), 0U);
    EXPECT_EQ(probe.count("View::New"), 0U);
    EXPECT_EQ(measure.minimum.getSize(0), 0U);
    expectNothingAlive();
  }
}

TEST_F(ExtremaCalls, FailOnUnknownTypes) {
  for (int type : {3, 7, 12, 32, -1}) {
    FakeImage const fake(type);
    algorithm.inputImage = &fake;
    try {
      run(7);
      ADD_FAILURE() << type << " was let pass";
    } catch (pxl::RuntimeError const& error) {
      EXPECT_EQ(error.what(), "Invalid type in Visitor1Args : " + std::to_string(type));
    }
    EXPECT_EQ(probe.count("resize"), 0U);
    expectNothingAlive();
  }
}

TEST_F(ExtremaCalls, LeaveNothingBehindAfterABadCast) {
  pxl::morphology::Dilation2d foreign;
  probe.clear();
  EXPECT_THROW(getShippedRunner().run(&foreign), pxl::UnexpectedError);
  EXPECT_THROW(getShippedRunner().run(nullptr), pxl::UnexpectedError);
  EXPECT_TRUE(probe.getTrace().empty());
  expectNothingAlive();
}

// Each row has a page of its own that can be read from the moment the row is asked for till the next call.
TEST_F(ExtremaCalls, TouchNoVoxelButThroughTheBorderCondition) {
  constexpr long cPage = 4096, cNbRows = 12;
  void* const mapped = ::mmap(nullptr, cPage * cNbRows, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(mapped, MAP_FAILED);
  char* const pages = static_cast<char*>(mapped);
  oracle::Image<short> expected = makeImage<short>(random, {100, 4, 3, 1, 1});
  for (long r = 0; r < cNbRows; ++r)
    std::memcpy(pages + r * cPage, &expected.voxels[static_cast<std::size_t>(r * 100)], 200);
  auto const paged = pxl::Image::OnMemory(static_cast<void const*>(pages), pxl::cInteger16, {100, 4, 3, 1, 1},
                                          {2, cPage, 4 * cPage, 12 * cPage, 12 * cPage});
  probe.grains = {7, 1, 1};
  probe.onRead = [pages](Event const& read) {
    ::mprotect(pages, cPage * cNbRows, PROT_NONE);
    ::mprotect(pages + (read.values[3] * 4 + read.values[2]) * cPage, cPage, PROT_READ);
  };
  ::mprotect(pages, cPage * cNbRows, PROT_NONE);
  measureImage(*paged, 0, 1);
  expectMeasured(oracle::measureExtrema(expected, 0));
  probe.onRead = nullptr;
  ::munmap(mapped, cPage * cNbRows);
}

}  // namespace
}  // namespace analysis_test
