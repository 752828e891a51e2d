#include <gtest/gtest.h>

#include <thread>

#include "instrument/Recorder.h"
#include "pxl/BaseTbbAlgorithm.h"
#include "pxl/Plugins.h"
#include "pxl/analysis/IntensityExtrema.h"
#include "pxl/point_operations/LogicalOperation.h"
#include "support/Algorithms.h"
#include "support/Images.h"
#include "support/Raised.h"

namespace {

using namespace host_test;
using pxl::BaseAlgorithm;
using pxl::Image;
using pxl::access::Region;

class Execute : public ::testing::Test {
 protected:
  Execute() {
    algorithm.inputImage = input.get();
    algorithm.outputImage = output.get();
  }

  std::shared_ptr<Image> input = Image::New(pxl::cFloat, {4, 5, 6, 2, 3});
  std::shared_ptr<Image> output = Image::New(pxl::cUnsignedInteger8, {4, 5, 6, 2, 3});
  VolumeOperator algorithm;
};

TEST_F(Execute, RunsTheRunnerOnceWithTheAlgorithm) {
  BaseAlgorithm* seen = nullptr;
  FakeRunner const runner(algorithm.getAlgoInfo(), [&](BaseAlgorithm* a) { seen = a; });
  algorithm.execute();
  EXPECT_EQ(seen, &algorithm);
  EXPECT_EQ(runner.nbRuns, 1);
  algorithm.execute();
  EXPECT_EQ(runner.nbRuns, 2);
}

TEST_F(Execute, RefusesPropertiesThatAreNotSetBeforeAnyRunnerIsAsked) {
  FakeRunner const runner(algorithm.getAlgoInfo());
  algorithm.inputImage = nullptr;
  EXPECT_TRUE(contains(refusalOf([&] { algorithm.execute(); }), "TestOperator: inputImage"));
  algorithm.inputImage = input.get();
  algorithm.outputImage = nullptr;
  EXPECT_TRUE(contains(refusalOf([&] { algorithm.execute(); }), "TestOperator: outputImage"));
  EXPECT_EQ(runner.nbQuestions, 0);

  pxl::analysis::IntensityExtrema extrema;
  extrema.inputImage = input.get();
  EXPECT_TRUE(contains(refusalOf([&] { extrema.execute(); }), "outputMeasure"));
  pxl::point_operations::LogicalOperationWithValue logic;
  logic.inputImage = input.get();
  logic.outputImage = output.get();
  EXPECT_TRUE(contains(refusalOf([&] { logic.execute(); }), "value"));
}

TEST_F(Execute, RefusesImagesThatDifferInAnySize) {
  FakeRunner const runner(algorithm.getAlgoInfo());
  for (std::size_t i = 0; i < 5; ++i) {
    auto sizes = input->getSizes();
    ++sizes[i];
    auto const other = Image::New(pxl::cFloat, sizes);
    algorithm.outputImage = other.get();
    std::string const text = refusalOf([&] { algorithm.execute(); });
    EXPECT_TRUE(contains(text, "inputImage") && contains(text, "outputImage") && contains(text, "size")) << text;
  }
  EXPECT_EQ(runner.nbQuestions, 0);

  pxl::point_operations::LogicalOperationWithImage logic;
  FakeRunner const logicRunner(logic.getAlgoInfo());
  auto const wide = Image::New(pxl::cFloat, {5, 5, 6, 2, 3});
  logic.inputImage1 = input.get();
  logic.inputImage2 = wide.get();
  logic.outputImage = output.get();
  EXPECT_TRUE(contains(refusalOf([&] { logic.execute(); }), "inputImage2"));
  EXPECT_EQ(logicRunner.nbQuestions, 0);
}

TEST_F(Execute, RefusesAnOutputThatIsReadOnly) {
  FakeRunner const runner(algorithm.getAlgoInfo());
  std::vector<float> const memory(countVoxels(input->getSizes()));
  auto const readOnly = Image::OnMemory(static_cast<void const*>(memory.data()), pxl::cFloat, input->getSizes(),
                                        pxl::getPackedStrides(pxl::cFloat, input->getSizes()));
  algorithm.outputImage = readOnly.get();
  EXPECT_TRUE(contains(refusalOf([&] { algorithm.execute(); }), "outputImage is read-only"));
  EXPECT_EQ(runner.nbQuestions, 0);
  algorithm.outputImage = output.get();
  algorithm.inputImage = readOnly.get();
  EXPECT_NO_THROW(algorithm.execute());
}

TEST_F(Execute, RefusesARegionBeyondTheImages) {
  FakeRunner const runner(algorithm.getAlgoInfo());
  long const whole[10] = {0, 5, 0, 4, 0, 6, 0, 2, 0, 3};
  auto const attempt = [&](long const(&r)[10]) {
    algorithm.setProcessingRegion(Region(r[0], r[1], r[2], r[3], r[4], r[5], r[6], r[7], r[8], r[9]));
    algorithm.execute();
  };
  EXPECT_NO_THROW(attempt(whole));
  EXPECT_EQ(runner.nbRuns, 1);
  for (int i = 0; i < 5; ++i) {
    long r[10];
    std::copy(whole, whole + 10, r);
    r[2 * i] = -1;
    EXPECT_TRUE(contains(refusalOf([&] { attempt(r); }), "region"));
    r[2 * i] = i < 3 ? 1 : 0;
    EXPECT_NO_THROW(attempt(r));
    r[2 * i + 1] = 1;
    EXPECT_NO_THROW(attempt(r));
    r[2 * i] = 1;
    r[2 * i + 1] = 0;
    refusalOf([&] { attempt(r); });
    r[2 * i + 1] = whole[2 * i + 1] + 1;
    refusalOf([&] { attempt(r); });
  }
  EXPECT_EQ(runner.nbRuns, 11);
  EXPECT_TRUE(algorithm.hasProcessingRegion());
  algorithm.clearProcessingRegion();
  EXPECT_FALSE(algorithm.hasProcessingRegion());
  EXPECT_NO_THROW(algorithm.execute());
}

TEST_F(Execute, HandsTheRegionToItsFilters) {
  Region const region(1, 2, 1, 3, 2, 5, 0, 1, 0, 2);
  bool isChosen = false;
  unsigned long nbVoxels = 0;
  FakeRunner const runner(algorithm.getAlgoInfo(), [&](BaseAlgorithm* a) {
    pxl::BaseTbbAlgorithm const filter(a);
    isChosen = filter.m_isRegionChosen;
    nbVoxels = filter.m_processingRegion.getNumOfVoxels();
    pxl::BaseTbbAlgorithm const stage(nullptr);
    EXPECT_FALSE(stage.m_isRegionChosen);
    EXPECT_EQ(stage.m_processingRegion.getNumOfVoxels(), 0u);
  });
  algorithm.execute();
  EXPECT_FALSE(isChosen);
  algorithm.setProcessingRegion(region);
  algorithm.execute();
  EXPECT_TRUE(isChosen);
  EXPECT_EQ(nbVoxels, region.getNumOfVoxels());
}

TEST_F(Execute, TakesTheHighestOptimisationTypeAndTheEarliestOnTies) {
  FakeRunner const low(algorithm.getAlgoInfo(), {}, -5);
  FakeRunner const first(algorithm.getAlgoInfo(), {}, 2);
  FakeRunner const second(algorithm.getAlgoInfo(), {}, 2);
  FakeRunner const refusing(algorithm.getAlgoInfo(), {}, 9, false);
  algorithm.execute();
  EXPECT_EQ(first.nbRuns, 1);
  EXPECT_EQ(low.nbRuns + second.nbRuns + refusing.nbRuns, 0);
  FakeRunner const highest(algorithm.getAlgoInfo(), {}, 3);
  algorithm.execute();
  EXPECT_EQ(highest.nbRuns, 1);
  EXPECT_EQ(first.nbRuns, 1);
}

TEST_F(Execute, TakesEvenANegativeOptimisationType) {
  FakeRunner const runner(algorithm.getAlgoInfo(), {}, std::numeric_limits<int>::min());
  algorithm.execute();
  EXPECT_EQ(runner.nbRuns, 1);
}

TEST_F(Execute, SaysWhyNoRunnerAccepts) {
  std::string text = raisedBy<pxl::RuntimeError>([&] { algorithm.execute(); });
  EXPECT_TRUE(contains(text, "TestOperator") && contains(text, "no plug-in")) << text;
  FakeRunner const a(algorithm.getAlgoInfo(), {}, 1, false);
  FakeRunner const b(algorithm.getAlgoInfo(), {}, 1, false);
  input->setInterpretation(pxl::cBinary);
  text = raisedBy<pxl::RuntimeError>([&] { algorithm.execute(); });
  for (char const* part : {"TestOperator", "none of 2", "inputImage of float32 (binary)", "outputImage of uint8"})
    EXPECT_TRUE(contains(text, part)) << text;
  EXPECT_FALSE(contains(text, "SSE")) << text;
  EXPECT_EQ(a.nbRuns + b.nbRuns, 0);
}

TEST_F(Execute, ForgetsARunnerThatWasTakenOff) {
  { FakeRunner const runner(algorithm.getAlgoInfo()); }
  EXPECT_TRUE(algorithm.getAlgoInfo()->getRunners().empty());
  raisedBy<pxl::RuntimeError>([&] { algorithm.execute(); });
  FakeRunner const runner(algorithm.getAlgoInfo());
  algorithm.getAlgoInfo()->removeRunner(nullptr);
  EXPECT_EQ(algorithm.getAlgoInfo()->getRunners().size(), 1u);
}

struct Unrelated {};

TEST_F(Execute, LetsWhateverARunnerThrowsThrough) {
  FakeRunner const runner(
      algorithm.getAlgoInfo(), [](BaseAlgorithm*) { throw Unrelated(); }, 1);
  EXPECT_THROW(algorithm.execute(), Unrelated);
  FakeRunner const cancelled(
      algorithm.getAlgoInfo(), [](BaseAlgorithm*) { throw pxl::ExceptionCancelation(); }, 2);
  EXPECT_THROW(algorithm.execute(), pxl::ExceptionCancelation);
  FakeRunner const broken(
      algorithm.getAlgoInfo(),
      [](BaseAlgorithm*) {
        pxl::Exception::ExceptionInfo info;
        info.message = "own text";
        throw pxl::RuleException(info);
      },
      3);
  EXPECT_EQ(raisedBy<pxl::RuleException>([&] { algorithm.execute(); }), "own text");
  // Each failure left the algorithm ready for the next run.
  FakeRunner const good(algorithm.getAlgoInfo(), {}, 4);
  EXPECT_NO_THROW(algorithm.execute());
}

TEST_F(Execute, RefusesASecondRunOfTheSameAlgorithm) {
  int nbRefusals = 0;
  FakeRunner const runner(algorithm.getAlgoInfo(), [&](BaseAlgorithm* a) {
    EXPECT_TRUE(contains(refusalOf([&] { a->execute(); }), "running"));
    std::thread([&] { EXPECT_TRUE(contains(refusalOf([&] { a->execute(); }), "running")); }).join();
    ++nbRefusals;
  });
  algorithm.execute();
  // The refusal didn't end the run that was going on.
  algorithm.execute();
  EXPECT_EQ(nbRefusals, 2);
}

TEST_F(Execute, RunsAnotherAlgorithmInsideARun) {
  PlanOperator other;
  other.inputImage = input.get();
  other.outputImage = output.get();
  FakeRunner const inner(other.getAlgoInfo());
  FakeRunner const outer(algorithm.getAlgoInfo(), [&](BaseAlgorithm*) { other.execute(); });
  algorithm.execute();
  EXPECT_EQ(inner.nbRuns, 1);
}

TEST_F(Execute, RunsDifferentAlgorithmsSideBySide) {
  std::atomic<int> nbInside{0};
  std::atomic<bool> wereTogether{false};
  FakeRunner const runner(algorithm.getAlgoInfo(), [&](BaseAlgorithm*) {
    ++nbInside;
    auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (nbInside < 2 && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    if (nbInside == 2) wereTogether = true;
  });
  VolumeOperator other;
  other.inputImage = input.get();
  auto const target = Image::New(pxl::cFloat, input->getSizes());
  other.outputImage = target.get();
  std::thread thread([&] { other.execute(); });
  algorithm.execute();
  thread.join();
  EXPECT_TRUE(wereTogether);
}

TEST(ExecuteWithoutImages, IsNoTrouble) {
  struct OutputOnly : BaseAlgorithm {
    pxl::AlgoInfo* getAlgoInfo() const override { return VolumeOperator::getClassInfo(); }
    pxl::Property<pxl::ImageModel*> outputImage{*this, "outputImage", "image to write"};
  };
  struct Nothing : BaseAlgorithm {
    pxl::AlgoInfo* getAlgoInfo() const override { return VolumeOperator::getClassInfo(); }
  };
  FakeRunner const runner(VolumeOperator::getClassInfo());
  auto const image = Image::New(pxl::cFloat, {4, 4, 1, 1, 1});
  OutputOnly generator;
  generator.outputImage = image.get();
  EXPECT_NO_THROW(generator.execute());
  generator.setProcessingRegion(Region(0, 5, 0, 4, 0, 1, 0, 1, 0, 1));
  refusalOf([&] { generator.execute(); });
  Nothing nothing;
  EXPECT_NO_THROW(nothing.execute());
  EXPECT_EQ(runner.nbRuns, 2);
}

}  // namespace
