#include <atomic>
#include <thread>

#include "support/Runs.h"

namespace point_test {
namespace {

using pxl::instrument::Event;

/** The calls of a run to the host, and how it fails. */
class LogicalCalls : public PluginTest {
 protected:
  LogicalCalls() { recorder.grains = {100, 100, 100}; }

  template <class Action>
  static pxl::InvalidCall catchInvalidCall(Action action) {
    try {
      action();
    } catch (pxl::InvalidCall const& error) {
      return error;
    }
    throw std::runtime_error("nothing was thrown");
  }

  pxl::instrument::Recorder recorder;
  oracle::Random random{502};
  oracle::Image<short> a = random.image<short>({5, 2, 2, 1, 1}), b = random.image<short>({5, 2, 2, 1, 1});
  std::shared_ptr<pxl::Image> first = oracle::toHost(a), second = oracle::toHost(b),
                              output = oracle::toHost(oracle::Image<short>(a.sizes));
};

TEST_F(LogicalCalls, MakeAViewOfEachImageInOrder) {
  recorder.clear();
  runWithImage(0, first.get(), second.get(), output.get());
  auto views = recorder.getTrace("View::New");
  ASSERT_EQ(views.size(), 3u);
  EXPECT_EQ(views[0].object, first.get());
  EXPECT_EQ(views[1].object, second.get());
  EXPECT_EQ(views[2].object, output.get());
  EXPECT_EQ(recorder.count("BorderCondition::New"), 3u);
  recorder.clear();
  runWithValue(0, first.get(), 1, output.get());
  views = recorder.getTrace("View::New");
  ASSERT_EQ(views.size(), 2u);
  EXPECT_EQ(views[0].object, first.get());
  EXPECT_EQ(views[1].object, output.get());
}

TEST_F(LogicalCalls, ReadAndWriteEachRowOnceInTheirOrder) {
  recorder.clear();
  withThreads(1, [&] { runWithImage(0, first.get(), second.get(), output.get()); });
  std::vector<std::string> rows;
  for (std::string const& name : recorder.getNames())
    if (name == "readRowAt" || name == "writeRowAt" || name == "writeAllTemporizedRows") rows.push_back(name);
  EXPECT_EQ(rows, (std::vector<std::string>{"readRowAt", "readRowAt", "writeRowAt", "readRowAt", "readRowAt",
                                            "writeRowAt", "readRowAt", "readRowAt", "writeRowAt", "readRowAt",
                                            "readRowAt", "writeRowAt", "writeAllTemporizedRows"}));
  for (Event const& event : recorder.getTrace("readRowAt")) {
    EXPECT_EQ(event.values[0], 5);
    EXPECT_EQ(event.values[1], 0);
  }
}

TEST_F(LogicalCalls, NeverHoldAnythingBackInPlace) {
  recorder.grains = {1, 1, 1};
  recorder.clear();
  withThreads(2, [&] {
    runWithImage(2, first.get(), second.get(), first.get());
    runWithValue(2, second.get(), 7, second.get());
  });
  EXPECT_EQ(recorder.count("temporizeRowWriting"), 0u);
  EXPECT_GT(recorder.count("writeRowAt"), 20u);
}

TEST_F(LogicalCalls, ConvertASecondInputOfAnotherType) {
  oracle::Image<double> reals(a.sizes);
  oracle::Image<short> rounded(a.sizes);
  // Half to even, saturation, and no number at all.
  double const values[] = {0.5, 1.5, -2.5, 1e9, -1e9, std::numeric_limits<double>::quiet_NaN(), 77};
  short const asShorts[] = {0, 2, -2, 32767, -32768, 0, 77};
  for (unsigned long i = 0; i < reals.voxels.size(); ++i) {
    reals.voxels[i] = values[i % 7];
    rounded.voxels[i] = asShorts[i % 7];
  }
  auto const other = oracle::toHost(reals);
  for (int operation = 0; operation < 7; ++operation) {
    runWithImage(operation, first.get(), other.get(), output.get());
    EXPECT_TRUE(areEqual(*output, oracle::combine(operation, a, rounded))) << operation;
  }
}

TEST_F(LogicalCalls, WithAnUnknownOperatorFailBeforeAnyImageIsTouched) {
  for (int operation : {7, -1, 8, 2147483647, -2147483647 - 1}) {
    std::string const text = "The provided logicalOperator is unknow (value=" + std::to_string(operation) + ").";
    recorder.clear();
    auto error = catchInvalidCall([&] { runWithImage(operation, first.get(), second.get(), output.get()); });
    EXPECT_EQ(std::string(error.what()), text);
    EXPECT_STREQ(error.getExceptionInfo().file.c_str(), "PointOperations/src/LogicalOperationWithImage_SSE41");
    EXPECT_EQ(error.getExceptionInfo().line, 52);
    error = catchInvalidCall([&] { runWithValue(operation, first.get(), 3, output.get()); });
    EXPECT_EQ(std::string(error.what()), text);
    EXPECT_STREQ(error.getExceptionInfo().file.c_str(), "PointOperations/src/LogicalOperationWithValue_SSE41");
    EXPECT_EQ(error.getExceptionInfo().line, 52);
    for (char const* name : {"View::New", "BorderCondition::New", "readRowAt", "writeRowAt"})
      EXPECT_EQ(recorder.count(name), 0u) << name;
  }
}

TEST_F(LogicalCalls, ReadTheUnknownOperatorAgainForTheText) {
  LogicalOperationWithValue algorithm;
  algorithm.inputImage = first.get();
  algorithm.value = 3;
  algorithm.logicalOperator = 7;
  algorithm.outputImage = output.get();
  int nbAnswers = 0;
  recorder.onProperty = [&](pxl::PropertyBase const& property) {
    if (&property == &algorithm.logicalOperator) algorithm.logicalOperator = nbAnswers++ == 0 ? 7 : 9;
  };
  auto const error = catchInvalidCall([&] { algorithm.execute(); });
  EXPECT_STREQ(error.what(), "The provided logicalOperator is unknow (value=9).");
  unsigned long nbReads = 0, nbValueReads = 0;
  for (Event const& event : recorder.getTrace("propertyRead")) {
    if (event.text == "logicalOperator") ++nbReads;
    if (event.text == "value") ++nbValueReads;
  }
  EXPECT_EQ(nbReads, 2u);
  EXPECT_EQ(nbValueReads, 0u);
}

TEST_F(LogicalCalls, RefuseRealImages) {
  for (pxl::VoxelTypes type : {pxl::cFloat, pxl::cDouble}) {
    auto const image = pxl::Image::New(type, {5, 2, 1, 1, 1});
    EXPECT_THROW(runWithImage(0, image.get(), image.get(), image.get()), pxl::RuntimeError);
    EXPECT_THROW(runWithValue(0, image.get(), 1, image.get()), pxl::RuntimeError);
  }
  // And an output of another type.
  auto const wide = pxl::Image::New(pxl::cInteger32, {5, 2, 2, 1, 1});
  EXPECT_THROW(runWithImage(0, first.get(), second.get(), wide.get()), pxl::RuntimeError);
}

TEST_F(LogicalCalls, EndWithAnErrorWhenARowIsNotStored) {
  for (int failing = 1; failing <= 4; ++failing) {
    int nbWrites = 0;
    recorder.onWrite = [&](Event const&) { return ++nbWrites != failing; };
    withThreads(1, [&] {
      EXPECT_THROW(runWithImage(0, first.get(), second.get(), output.get()), pxl::UnexpectedError);
      nbWrites = 0;
      EXPECT_THROW(runWithValue(0, first.get(), 3, output.get()), pxl::UnexpectedError);
    });
    EXPECT_EQ(recorder.nbViews() + recorder.nbBorders() + recorder.nbFrames(), 0);
  }
}

TEST_F(LogicalCalls, EndWithACancel) {
  auto const large = pxl::Image::New(pxl::cUnsignedInteger8, {64, 50, 20, 1, 2});
  recorder.grains = {64, 1, 1};
  recorder.isTracing = false;
  for (int cancelAt : {1, 500, 1999}) {
    LogicalOperationWithValue algorithm;
    algorithm.inputImage = large.get();
    algorithm.value = 1;
    algorithm.outputImage = large.get();
    std::atomic<int> nbReads{0};
    recorder.onRead = [&](Event const&) {
      if (++nbReads == cancelAt) algorithm.cancelExecution();
    };
    EXPECT_THROW(algorithm.execute(), pxl::ExceptionCancelation) << cancelAt;
    EXPECT_EQ(recorder.nbViews() + recorder.nbBorders() + recorder.nbFrames(), 0);
  }
}

TEST_F(LogicalCalls, WithAnImageEndWithACancel) {
  auto const large = pxl::Image::New(pxl::cUnsignedInteger8, {64, 50, 20, 1, 2});
  auto const other = pxl::Image::New(pxl::cUnsignedInteger8, {64, 50, 20, 1, 2});
  recorder.grains = {64, 1, 1};
  recorder.isTracing = false;
  for (int cancelAt : {1, 1000, 3999})
    for (auto const& target : {large, other}) {
      LogicalOperationWithImage algorithm;
      algorithm.inputImage1 = large.get();
      algorithm.inputImage2 = other.get();
      algorithm.outputImage = target.get();
      std::atomic<int> nbReads{0};
      recorder.onRead = [&](Event const&) {
        if (++nbReads == cancelAt) algorithm.cancelExecution();
      };
      EXPECT_THROW(algorithm.execute(), pxl::ExceptionCancelation) << cancelAt;
      EXPECT_EQ(recorder.nbViews() + recorder.nbBorders() + recorder.nbFrames(), 0);
    }
}

// By another thread, which finds the run by its algorithm.
TEST_F(LogicalCalls, WithAnImageEndWithACancelFromOutside) {
  auto const large = pxl::Image::New(pxl::cUnsignedInteger8, {64, 50, 20, 1, 2});
  recorder.grains = {64, 1, 1};
  recorder.isTracing = false;
  LogicalOperationWithImage algorithm;
  algorithm.inputImage1 = large.get();
  algorithm.inputImage2 = large.get();
  algorithm.outputImage = large.get();
  std::atomic<bool> isRunning{false}, isCancelled{false};
  recorder.onRead = [&](Event const&) {
    isRunning = true;
    while (!isCancelled) std::this_thread::yield();
  };
  std::thread outside([&] {
    while (!isRunning) std::this_thread::yield();
    algorithm.cancelExecution();
    isCancelled = true;
  });
  EXPECT_THROW(algorithm.execute(), pxl::ExceptionCancelation);
  isRunning = true;  // or it was refused
  outside.join();
}

TEST_F(LogicalCalls, ReachTheWholeProgress) {
  recorder.clear();
  LogicalOperationWithImage algorithm;
  algorithm.inputImage1 = first.get();
  algorithm.inputImage2 = second.get();
  algorithm.outputImage = output.get();
  algorithm.execute();
  EXPECT_EQ(recorder.getTrace("setMaxProgress").at(0).values, std::vector<long>{20});
  EXPECT_EQ(algorithm.getProgress(), 1);
}

// Polled in each read: of 20 rows that are blocks, one more is done each time.
TEST_F(LogicalCalls, TellTheirProgressWithinARun) {
  auto const image = pxl::Image::New(pxl::cUnsignedInteger8, {16, 5, 4, 1, 1});
  recorder.grains = {16, 1, 1};
  recorder.isTracing = false;
  auto const run = [&](pxl::BaseAlgorithm& algorithm, long nbReadsOfARow) {
    long nbReads = 0;
    recorder.onRead = [&](Event const&) {
      EXPECT_DOUBLE_EQ(algorithm.getProgress(), static_cast<double>(nbReads++ / nbReadsOfARow) / 20);
    };
    pxl::instrument::withThreads(1, [&] { algorithm.execute(); });
    EXPECT_EQ(nbReads, 20 * nbReadsOfARow);
  };
  LogicalOperationWithImage withImage;
  withImage.inputImage1 = image.get();
  withImage.inputImage2 = image.get();
  withImage.outputImage = image.get();
  run(withImage, 2);
  LogicalOperationWithValue withValue;
  withValue.inputImage = image.get();
  withValue.value = 1;
  withValue.outputImage = image.get();
  run(withValue, 1);
}

}  // namespace
}  // namespace point_test
