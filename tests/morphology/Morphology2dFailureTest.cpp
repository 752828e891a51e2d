#include <atomic>
#include <chrono>
#include <thread>

#include "pxl/Exception.h"
#include "support/FailureTest.h"

namespace morphology_test {
namespace {

using pxl::instrument::Event;

class Morphology2dFailure : public FailureTest {};

TEST_F(Morphology2dFailure, OfAnyWriteIsAnErrorAndLeavesNothingBehind) {
  makeImages({20, 9, 2, 1, 1});
  recorder.grains = {8, 4, 1};
  Way const way{Operation::cDilation, 1, 2, false, 0};
  std::atomic<int> nbWrites{0};
  recorder.onWrite = [&](Event const&) { return ++nbWrites, true; };
  makeAlgorithm(way, input.get(), output.get())->execute();
  int const nbAll = nbWrites;
  ASSERT_GT(nbAll, 50);
  for (int failing = 1; failing <= nbAll; failing += failing < 20 ? 1 : 7) {
    nbWrites = 0;
    recorder.onWrite = [&](Event const&) { return ++nbWrites != failing; };
    auto const algorithm = makeAlgorithm(way, input.get(), output.get());
    EXPECT_THROW(algorithm->execute(), pxl::UnexpectedError) << failing;
    expectNothingIsLeft();
  }
  recorder.onWrite = nullptr;
  expectNextRunIsRight(way);
}

TEST_F(Morphology2dFailure, OfAWriteTellsWhere) {
  makeImages({20, 9, 1, 1, 1});
  recorder.onWrite = [](Event const&) { return false; };
  auto const algorithm = makeAlgorithm(Way{}, input.get(), output.get());
  auto const error = catchFrom<pxl::UnexpectedError>(*algorithm);
  EXPECT_STREQ(error.what(), "Error in writeRowAt implementation, return value is false");
  EXPECT_STREQ(error.getExceptionInfo().file.c_str(), "Core/private/Access/Rows.impl");
  EXPECT_EQ(error.getExceptionInfo().line, 550);
}

TEST_F(Morphology2dFailure, ToReserveATemporaryComesBeforeAnyRead) {
  makeImages({20, 9, 1, 1, 1});
  recorder.isTracing = true;
  recorder.isReserveGranted = false;
  for (bool isOnDisk : {false, true}) {
    recorder.isOnDisk = isOnDisk;
    auto const algorithm = makeAlgorithm(Way{Operation::cDilation, 1, 2}, input.get(), output.get());
    recorder.clear();
    auto const error = catchFrom<pxl::RuleException>(*algorithm);
    EXPECT_STREQ(error.what(), isOnDisk ? "The temporary disk image cannot be allocated."
                                        : "The temporary in memory image cannot be allocated.");
    EXPECT_STREQ(error.getExceptionInfo().file.c_str(), "Core/private/Filters/RecursiveImageFilters.impl");
    EXPECT_EQ(error.getExceptionInfo().line, isOnDisk ? 175 : 195);
    EXPECT_EQ(recorder.count("readRowAt") + recorder.count("writeRowAt"), 0u);
    expectNothingIsLeft();
  }
  recorder.isReserveGranted.reset();
  recorder.isOnDisk.reset();
  expectNextRunIsRight(Way{Operation::cDilation, 1, 2});
}

TEST_F(Morphology2dFailure, ToMakeATemporaryIsAnErrorOfTheHost) {
  makeImages({20, 9, 1, 1, 1});
  recorder.isTemporaryMade = false;
  auto const algorithm = makeAlgorithm(Way{Operation::cDilation, 1, 2}, input.get(), output.get());
  EXPECT_THROW(algorithm->execute(), pxl::UnexpectedError);
  expectNothingIsLeft();
}

TEST_F(Morphology2dFailure, OfAReadComesThroughUnchanged) {
  makeImages({20, 9, 1, 1, 1});
  recorder.onRead = [](Event const& event) {
    if (event.values[2] == 5) throw std::range_error("row 5");
  };
  auto const algorithm = makeAlgorithm(Way{}, input.get(), output.get());
  auto const error = catchFrom<std::range_error>(*algorithm);
  EXPECT_STREQ(error.what(), "row 5");
  expectNothingIsLeft();
}

TEST_F(Morphology2dFailure, ByACancelWithinAPassEndsTheRun) {
  makeImages({20, 30, 3, 1, 1});
  recorder.grains = {20, 4, 1};
  for (bool isInPlace : {false, true})
    for (int cancelAt : {1, 30, 100, 200}) {
      auto const target = isInPlace ? oracle::toHost(*image) : output;
      auto const source = isInPlace ? target : input;
      auto const algorithm = makeAlgorithm(Way{Operation::cErosion, 1, 3, isInPlace}, source.get(), target.get());
      std::atomic<int> nbReads{0};
      recorder.onRead = [&](Event const&) {
        if (++nbReads == cancelAt) algorithm->cancelExecution();
      };
      EXPECT_THROW(algorithm->execute(), pxl::ExceptionCancelation) << cancelAt;
      expectNothingIsLeft();
    }
}

TEST_F(Morphology2dFailure, ByACancelInPlaceLeavesTheDeferredRowsUnwritten) {
  makeImages({16, 16, 1, 1, 1});
  recorder.isTracing = true;
  recorder.grains = {8, 8, 1};
  auto const algorithm = makeAlgorithm(Way{Operation::cDilation, 1, 1, true}, input.get(), input.get());
  std::atomic<int> nbWrites{0};
  recorder.onWrite = [&](Event const&) {
    if (++nbWrites == 1) algorithm->cancelExecution();
    return true;
  };
  EXPECT_THROW(algorithm->execute(), pxl::ExceptionCancelation);
  EXPECT_GT(recorder.count("temporizeRowWriting"), 0u);
  EXPECT_EQ(recorder.count("writeAllTemporizedRows"), 0u);
}

TEST_F(Morphology2dFailure, ByACancelFromAnotherThreadComesAtOnce) {
  makeImages({300, 200, 4, 1, 1});
  auto const algorithm = makeAlgorithm(Way{Operation::cDilation, 1, 4000000000U}, input.get(), output.get());
  std::thread canceller([&] {
    while (algorithm->getProgress() == 0) std::this_thread::yield();
    algorithm->cancelExecution();
  });
  EXPECT_THROW(algorithm->execute(), pxl::ExceptionCancelation);
  canceller.join();
  expectNothingIsLeft();
}

TEST_F(Morphology2dFailure, OfTwoRunsSideBySideDoesNotDisturbTheOther) {
  makeImages({120, 90, 3, 1, 1});
  std::thread other([this] {
    for (int i = 0; i < 20; ++i) {
      auto const target = oracle::toHost(oracle::Image<short>(image->sizes));
      auto const failing = makeAlgorithm(Way{Operation::cErosion, 0, 3}, input.get(), target.get());
      failing->cancelExecution();
      std::thread canceller([&] { failing->cancelExecution(); });
      try {
        failing->execute();
      } catch (pxl::ExceptionCancelation const&) {
      }
      canceller.join();
    }
  });
  for (int i = 0; i < 5; ++i) expectNextRunIsRight(Way{Operation::cDilation, 1, 3});
  other.join();
}

TEST_F(Morphology2dFailure, OfABinaryImageWithTooManyIterationsIsARefusal) {
  makeImages({20, 9, 1, 1, 1});
  input->setInterpretation(pxl::cBinary);
  makeAlgorithm(Way{Operation::cDilation, 1, 34}, input.get(), output.get())->execute();
  EXPECT_THROW(makeAlgorithm(Way{Operation::cDilation, 1, 35}, input.get(), output.get())->execute(),
               pxl::RuntimeError);
}

}  // namespace
}  // namespace morphology_test
