// The calls of a run to the host, their order and their threads.
#include <map>
#include <set>
#include <thread>

#include "pxl/AlgoInfo.h"
#include "pxl/Runnable.h"
#include "support/Runs.h"

namespace filtering_test {
namespace {

using pxl::instrument::Event;

class FirCalls : public PluginTest {
 protected:
  FirCalls() { recorder.grains = {100, 100, 100}; }

  std::vector<std::string> runAndListSteps(pxl::BaseAlgorithm& algorithm) {
    recorder.clear();
    algorithm.execute();
    std::vector<std::string> steps;
    for (Event const& event : recorder.getTrace()) {
      static std::vector<std::string> const kept{
          "ImageModelAdapter",        "getImageModel",      "BorderCondition::New",  "View::New", "setMaxProgress",
          "getPartitionerGrainSizes", "~ImageModelAdapter", "writeAllTemporizedRows"};
      if (std::find(kept.begin(), kept.end(), event.name) != kept.end()) steps.push_back(event.name);
    }
    return steps;
  }

  // The positions of all held-back rows: every second row, every third plan.
  std::set<long> listHeldBack(std::size_t number) const {
    std::set<long> positions;
    for (Event const& event : recorder.getTrace("temporizeRowWriting")) positions.insert(event.values[number]);
    return positions;
  }

  pxl::instrument::Recorder recorder;
  oracle::Random random{721};
  oracle::Image<short> image = random.image<short>({14, 9, 4, 1, 1});
  std::shared_ptr<pxl::Image> input = oracle::toHost(image), output = oracle::toHost(image);
};

TEST_F(FirCalls, ComeInTheOrderOfTheDispatcher) {
  for (int dimension : {2, 3}) {
    auto const algorithm = makeAlgorithm(dimension, {{0, 0, 0, 1.}}, input.get(), output.get());
    EXPECT_EQ(runAndListSteps(*algorithm),
              (std::vector<std::string>{"ImageModelAdapter", "BorderCondition::New", "getImageModel", "View::New",
                                        "ImageModelAdapter", "BorderCondition::New", "getImageModel", "View::New",
                                        "setMaxProgress", "getPartitionerGrainSizes", "writeAllTemporizedRows",
                                        "~ImageModelAdapter", "~ImageModelAdapter"}));
    auto const adapters = recorder.getTrace("ImageModelAdapter");
    EXPECT_EQ(adapters[0].object, input.get());
    EXPECT_EQ(adapters[1].object, output.get());
    for (Event const& adapter : adapters) EXPECT_EQ(adapter.values[0], pxl::cFloat);
    // The output's goes first, and both before the views.
    auto const presented = recorder.getTrace("getImageModel"), ended = recorder.getTrace("~ImageModelAdapter");
    EXPECT_EQ(ended[0].object, presented[1].object);
    EXPECT_EQ(ended[1].object, presented[0].object);
    for (Event const& event : ended) EXPECT_EQ(event.values[0], 2);
  }
}

TEST_F(FirCalls, OfOneImageMakeOneAdapter) {
  for (int dimension : {2, 3}) {
    auto const algorithm = makeAlgorithm(dimension, {{0, 0, 0, 1.}}, input.get(), input.get());
    EXPECT_EQ(runAndListSteps(*algorithm),
              (std::vector<std::string>{"ImageModelAdapter", "BorderCondition::New", "getImageModel", "View::New",
                                        "BorderCondition::New", "getImageModel", "View::New", "setMaxProgress",
                                        "getPartitionerGrainSizes", "writeAllTemporizedRows", "~ImageModelAdapter"}));
    auto const views = recorder.getTrace("View::New");
    EXPECT_EQ(views[0].object, views[1].object);
  }
}

TEST_F(FirCalls, TouchAdaptersOnTheThreadOfTheCallerAlone) {
  recorder.grains = {3, 2, 1};
  withThreads(4, [&] {
    auto const caller = std::this_thread::get_id();
    for (auto const& target : {input, output}) {
      recorder.clear();
      run(3, {{0, 0, 0, 1.}}, input.get(), target.get());
      for (char const* const name : {"ImageModelAdapter", "getImageModel", "~ImageModelAdapter", "View::New",
                                     "TemporaryImage::New", "writeAllTemporizedRows"})
        for (Event const& event : recorder.getTrace(name)) EXPECT_EQ(event.thread, caller) << name;
    }
  });
}

TEST_F(FirCalls, ReadEachRowOfANeighbourhoodOnceForEachBlock) {
  withThreads(1, [&] {
    recorder.grains = {100, 4, 100};  // blocks of 4, 2 and 3 rows
    recorder.clear();
    run(2, {{-1, -2, 0, 1.}, {3, 1, 0, 1.}, {0, 0, 0, 1.}, {1, 1, 0, 1.}}, input.get(), output.get());
    std::map<long, int> nbReads;
    for (Event const& event : recorder.getTrace("readRowAt")) {
      EXPECT_EQ(event.values[0], 14 + 4);
      EXPECT_EQ(event.values[1], -1);
      ++nbReads[event.values[2]];
    }
    long const nbBlocks = static_cast<long>(recorder.count("createRowCacheRead"));
    ASSERT_GT(nbBlocks, 1);
    long nbAll = 0;
    for (auto const& [row, count] : nbReads) nbAll += count;
    EXPECT_EQ(nbAll, 9 + 3 * nbBlocks);
    for (Event const& event : recorder.getTrace("createRowCacheRead")) EXPECT_EQ(event.values[0], 4);
    for (Event const& event : recorder.getTrace("createRowCacheReadWrite")) EXPECT_EQ(event.values[0], 1);
    EXPECT_EQ(recorder.count("writeRowAt"), 9u);

    recorder.grains = {100, 100, 100};
    recorder.clear();
    run(3, {{0, -1, 1, 1.}, {0, 1, 2, 1.}}, input.get(), output.get());
    // Plans 1 to 2 behind each of four, with a row on either side.
    EXPECT_EQ(recorder.count("readRowAt"), 5u * 11u);
    EXPECT_EQ(recorder.getTrace("createPlanCacheRead").at(0).values[0], 2);
    EXPECT_EQ(recorder.count("writeRowAt"), 4u * 9u);
    EXPECT_EQ(recorder.count("temporizeRowWriting"), 0u);
  });
}

// All reads go to the input: the rows that are written aren't fetched before.
TEST_F(FirCalls, ReadNothingOfTheOutput) {
  recorder.clear();
  run(3, {{0, 0, 0, 1.}}, input.get(), output.get());
  void const* const written = recorder.getTrace("writeRowAt").at(0).object;
  for (Event const& event : recorder.getTrace("readRowAt")) EXPECT_NE(event.object, written);
}

TEST_F(FirCalls, HoldBackInPlaceWhatNeighboursRead) {
  recorder.grains = {100, 5, 1};
  recorder.clear();
  withThreads(1, [&] { run(2, {{0, -1, 0, 1.}, {0, 2, 0, 1.}}, input.get(), input.get()); });
  EXPECT_EQ(recorder.count("writeRowAt"), 9u);
  // Blocks of four rows and of five.
  EXPECT_EQ(listHeldBack(2), (std::set<long>{3, 4, 5}));
  recorder.grains = {100, 100, 2};
  recorder.clear();
  withThreads(1, [&] { run(3, {{0, 0, -1, 1.}, {0, 0, 2, 1.}}, input.get(), input.get()); });
  EXPECT_EQ(listHeldBack(3), (std::set<long>{1, 2, 3}));
}

TEST_F(FirCalls, ReadTheKernelOnce) {
  for (int dimension : {2, 3}) {
    auto const algorithm = makeAlgorithm(dimension, {{0, 0, 0, 1.}}, input.get(), output.get());
    recorder.clear();
    algorithm->getAlgoInfo()->getRunners().front()->run(algorithm.get());
    auto const reads = recorder.getTrace("propertyRead");
    EXPECT_EQ(std::count_if(reads.begin(), reads.end(), [](Event const& read) { return read.text == "kernel"; }), 1);
  }
}

TEST_F(FirCalls, LookForACancelBetweenBlocksOnly) {
  recorder.grains = {100, 3, 100};
  auto const algorithm = makeAlgorithm(2, {{0, 0, 0, 1.}}, input.get(), output.get());
  recorder.onWrite = [&](Event const& event) {
    if (event.values[2] == 0) algorithm->cancelExecution();
    return true;
  };
  recorder.clear();
  // By the runner alone: within execute() the block ends at its next row.
  auto const runner = algorithm->getAlgoInfo()->getRunners().front();
  withThreads(1, [&] { EXPECT_THROW(runner->run(algorithm.get()), pxl::ExceptionCancelation); });
  // The block goes on to its last row; no other one begins.
  long const nbWritten = static_cast<long>(recorder.count("writeRowAt"));
  EXPECT_GE(nbWritten, 2);
  EXPECT_LE(nbWritten, 3);
  EXPECT_EQ(recorder.count("createRowCacheRead"), 1u);
  EXPECT_EQ(recorder.count("writeAllTemporizedRows"), 0u);
}

TEST_F(FirCalls, Of2dTellThatOtherPlansStay) {
  EXPECT_FALSE(makeAlgorithm(2, {{0, 0, 0, 1.}}, input.get(), output.get())->getWarning().empty());
  auto const plan = pxl::Image::New(pxl::cFloat, {4, 4, 1, 3, 2});
  EXPECT_TRUE(makeAlgorithm(2, {{0, 0, 0, 1.}}, plan.get(), plan.get())->getWarning().empty());
  EXPECT_TRUE(makeAlgorithm(3, {{0, 0, 0, 1.}}, input.get(), output.get())->getWarning().empty());
  EXPECT_TRUE(FiniteImpulseResponseFilter2D().getWarning().empty());
}

}  // namespace
}  // namespace filtering_test
