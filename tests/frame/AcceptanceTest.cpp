#include <atomic>
#include <thread>

#include "frame/support/Operators.h"

namespace frame_test {
namespace {

template <class Op>
class EveryRunner : public RunnerTest<Op> {};
TEST_TYPES(EveryRunner, AllOperators, OperatorNames);

TEST_OF_TYPES(EveryRunner, IsOneBarePointerOfOptimisationTypeOne) {
  static_assert(sizeof(typename TypeParam::Runner) == sizeof(void*));
  EXPECT_EQ(this->runner.getOptimType(), 1);
}

// Behind the two destructors: run, isRunnable, getOptimType. Called as the host's compiled code does.
TEST_OF_TYPES(EveryRunner, HasItsOperationsInTheOrderOfTheContract) {
  using RunSlot = void (*)(pxl::Runnable const*, pxl::BaseAlgorithm*);
  using IsRunnableSlot = bool (*)(pxl::Runnable const*, pxl::BaseAlgorithm*);
  using OptimTypeSlot = int (*)(pxl::Runnable const*);
  pxl::Runnable const* const object = &this->runner;
  void** const slots = *reinterpret_cast<void** const*>(object);
  this->probe.sseLevel = 0;
  EXPECT_FALSE(reinterpret_cast<IsRunnableSlot>(slots[3])(object, &this->algorithm));
  this->probe.sseLevel = 80;
  EXPECT_TRUE(reinterpret_cast<IsRunnableSlot>(slots[3])(object, &this->algorithm));
  EXPECT_EQ(reinterpret_cast<OptimTypeSlot>(slots[4])(object), 1);
  EXPECT_TRUE(takeReports().empty());
  reinterpret_cast<RunSlot>(slots[2])(object, &this->algorithm);
  EXPECT_EQ(takeReports().size(), 1U);
}

TEST_OF_TYPES(EveryRunner, NeedsALevelAbove64) {
  for (int level : {-1, 0, 63, 64}) {
    this->probe.sseLevel = level;
    EXPECT_FALSE(this->isAccepted()) << level;
  }
  for (int level : {65, 80, 1000}) {
    this->probe.sseLevel = level;
    EXPECT_TRUE(this->isAccepted()) << level;
  }
}

TEST_OF_TYPES(EveryRunner, NeedsSSEWhateverTheLevel) {
  this->probe.hasSSE = false;
  EXPECT_FALSE(this->isAccepted());
}

TEST_OF_TYPES(EveryRunner, AsksTheDeviceAnewEachTime) {
  for (int i = 0; i < 3; ++i) {
    this->probe.sseLevel = 64;
    EXPECT_FALSE(this->isAccepted());
    this->probe.sseLevel = 65;
    EXPECT_TRUE(this->isAccepted());
    this->probe.hasSSE = false;
    EXPECT_FALSE(this->isAccepted());
    this->probe.hasSSE = true;
    EXPECT_TRUE(this->isAccepted());
  }
}

TEST_OF_TYPES(EveryRunner, AcceptsExactlyItsVoxelTypes) {
  std::set<int> const& types = TypeParam::cRule == Rule::cLogical ? cSixTypes : cEightTypes;
  for (int type : getTypeValues()) {
    this->setTypes(type, type);
    bool const isExpected = TypeParam::cRule == Rule::cFir || types.count(type) > 0;
    EXPECT_EQ(this->isAccepted(), isExpected) << type;
  }
}

TEST_OF_TYPES(EveryRunner, ReadsPropertiesAndWritesNone) {
  this->probe.clear();
  this->isAccepted();
  this->runner.run(&this->algorithm);
  EXPECT_EQ(this->probe.count("propertyWrite"), 0U);
}

TEST_OF_TYPES(EveryRunner, AnswersFromManyThreadsAtOnce) {
  std::atomic<int> nbWrong{0};
  auto const ask = [this, &nbWrong](int type) {
    FakeImage image(type), target(type);
    typename TypeParam::Algorithm own;
    getLeading(own) = &image;
    setOutput(own, &target);
    bool const isExpected = TypeParam::cRule == Rule::cFir || type == pxl::cInteger16;
    for (int i = 0; i < 200; ++i)
      if (this->runner.isRunnable(&own) != isExpected || this->runner.getOptimType() != 1) ++nbWrong;
    if (isExpected)
      for (int i = 0; i < 20; ++i) this->runner.run(&own);
  };
  pxl::instrument::setProbe(nullptr);  // a log would hide races between the threads
  if (pxl::devices::Cpu::getDevice()->getSSELevel() <= 64) GTEST_SKIP() << "this processor has no SSE4.1";
  std::thread first(ask, pxl::cInteger16), second(ask, pxl::cInteger64), third(ask, pxl::cInteger16);
  first.join();
  second.join();
  third.join();
  EXPECT_EQ(nbWrong, 0);
  EXPECT_EQ(takeReports().size(), TypeParam::cRule == Rule::cFir ? 60U : 40U);
}

template <class Op>
class ShapedRunner : public RunnerTest<Op> {};
TEST_TYPES(ShapedRunner, ShapedOperators, OperatorNames);

template <class Op>
class LogicalRunner : public RunnerTest<Op> {};
TEST_TYPES(LogicalRunner, LogicalOperators, OperatorNames);

// Asks isAccepted(inputType, outputType) for every pair.
template <class IsAccepted>
void expectEqualTypesOnly(std::set<int> const& types, IsAccepted&& isAccepted) {
  for (int input : types)
    for (int output = -1; output <= 12; ++output)
      EXPECT_EQ(isAccepted(input, output), input == output) << input << " to " << output;
}

TEST_OF_TYPES(ShapedRunner, NeedsAnOutputOfTheInputsType) {
  expectEqualTypesOnly(cEightTypes, [this](int inputType, int outputType) {
    this->setTypes(inputType, outputType);
    return this->isAccepted();
  });
}

TEST_OF_TYPES(LogicalRunner, NeedsAnOutputOfTheInputsType) {
  expectEqualTypesOnly(cSixTypes, [this](int inputType, int outputType) {
    this->setTypes(inputType, outputType);
    return this->isAccepted();
  });
}

using LogicalWithImageRunner = RunnerTest<LogicalWithImage>;

TEST_F(LogicalWithImageRunner, NeverLooksAtTheSecondImage) {
  algorithm.inputImage2 = nullptr;
  EXPECT_TRUE(isAccepted());
  FakeImage second(pxl::cDouble);
  second.logInto(probe.log, "second");
  algorithm.inputImage2 = &second;
  EXPECT_TRUE(isAccepted());
  runner.run(&algorithm);
  for (std::string const& call : probe.log) EXPECT_EQ(call.find("second."), std::string::npos) << call;
}

template <class Op>
class FirRunner : public RunnerTest<Op> {};
TEST_TYPES(FirRunner, FirOperators, OperatorNames);

TEST_OF_TYPES(FirRunner, AcceptsWithoutLookingAtTheAlgorithm) {
  EXPECT_TRUE(this->runner.isRunnable(nullptr));
  pxl::morphology::Erosion2d foreign;
  EXPECT_TRUE(this->runner.isRunnable(&foreign));
  EXPECT_TRUE(this->runner.isRunnable(reinterpret_cast<pxl::BaseAlgorithm*>(8)));
  getLeading(this->algorithm) = nullptr;
  setOutput(this->algorithm, nullptr);
  EXPECT_TRUE(this->isAccepted());
  EXPECT_EQ(this->probe.log, (std::vector<std::string>{"hasSSE", "getSSELevel"}));
}

template <class Op>
class IteratedRunner : public RunnerTest<Op> {};
TEST_TYPES(IteratedRunner, IteratedOperators, OperatorNames);

TEST_OF_TYPES(IteratedRunner, NeverLooksAtTheOutput) {
  for (int type : getTypeValues()) {
    this->setTypes(pxl::cUnsignedInteger8, type);
    EXPECT_TRUE(this->isAccepted()) << type;
    for (std::string const& call : this->probe.log) EXPECT_NE(call.rfind("output", 0), 0U) << call;
  }
  setOutput(this->algorithm, nullptr);
  EXPECT_TRUE(this->isAccepted());
}

using ExtremaRunner = RunnerTest<Extrema>;

TEST_F(ExtremaRunner, AsksForSSEBeforeItLooksAtTheAlgorithm) {
  probe.hasSSE = false;
  EXPECT_FALSE(runner.isRunnable(nullptr));
  EXPECT_FALSE(runner.isRunnable(reinterpret_cast<pxl::BaseAlgorithm*>(8)));
}

TEST_F(ExtremaRunner, RefusesIntegersOfMoreThanFourBytes) {
  probe.sizeOf = [](pxl::VoxelTypes, unsigned long) { return 5UL; };
  for (int type : cEightTypes) {
    setTypes(type, type);
    EXPECT_EQ(isAccepted(), type == pxl::cFloat || type == pxl::cDouble) << type;
  }
  probe.sizeOf = [](pxl::VoxelTypes, unsigned long) { return 4UL; };
  for (int type : cEightTypes) {
    setTypes(type, type);
    EXPECT_TRUE(isAccepted()) << type;
  }
}

}  // namespace
}  // namespace frame_test
