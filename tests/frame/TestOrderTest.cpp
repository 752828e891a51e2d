// In which order the runners look at things, and where they stop.
#include <algorithm>

#include "frame/support/Operators.h"

namespace frame_test {
namespace {

using Calls = std::vector<std::string>;

template <class Op>
class ShapedOrder : public RunnerTest<Op> {};
TEST_TYPES(ShapedOrder, ShapedOperators, OperatorNames);

template <class Op>
class LogicalOrder : public RunnerTest<Op> {};
TEST_TYPES(LogicalOrder, LogicalOperators, OperatorNames);

// Shaped and logical runners: types equal, SSE, type supported, level.
template <class Test>
void expectTypesBeforeDevice(LoggingProbe& probe, Calls const& beforeDevice, Test&& ask) {
  Calls const all = [&] {
    Calls calls = beforeDevice;
    calls.insert(calls.end(), {"hasSSE", "getSSELevel"});
    return calls;
  }();
  Calls const withoutLevel(all.begin(), all.end() - 1);
  EXPECT_TRUE(ask(pxl::cInteger16, pxl::cInteger16));
  EXPECT_EQ(probe.log, all);
  EXPECT_FALSE(ask(pxl::cInteger16, pxl::cUnsignedInteger16));
  EXPECT_EQ(probe.log, beforeDevice);
  EXPECT_FALSE(ask(pxl::cInteger64, pxl::cInteger64));
  EXPECT_EQ(probe.log, withoutLevel);
  probe.hasSSE = false;
  EXPECT_FALSE(ask(pxl::cInteger16, pxl::cInteger16));
  EXPECT_EQ(probe.log, withoutLevel);
}

TEST_OF_TYPES(ShapedOrder, IsTypesThenSSEThenTypeThenLevel) {
  expectTypesBeforeDevice(this->probe, {"inputImage", "input.type", "outputImage", "output.type"},
                          [this](int inputType, int outputType) {
                            this->setTypes(inputType, outputType);
                            return this->isAccepted();
                          });
}

TEST_OF_TYPES(LogicalOrder, IsTypesThenSSEThenTypeThenLevel) {
  std::string const leading = getLeading(this->algorithm).getName();
  expectTypesBeforeDevice(this->probe, {leading, "input.type", "outputImage", "output.type"},
                          [this](int inputType, int outputType) {
                            this->setTypes(inputType, outputType);
                            return this->isAccepted();
                          });
}

template <class Op>
class IteratedOrder : public RunnerTest<Op> {};
TEST_TYPES(IteratedOrder, IteratedOperators, OperatorNames);

TEST_OF_TYPES(IteratedOrder, OfAGreyImageIsImageThenSSEThenTypeThenLevel) {
  Calls const image{"inputImage", "input.type", "input.interpretation"};
  Calls withSSE = image;
  withSSE.push_back("hasSSE");
  Calls all = withSSE;
  all.push_back("getSSELevel");
  EXPECT_TRUE(this->isAccepted());
  EXPECT_EQ(this->probe.log, all);
  this->setTypes(pxl::cUnsignedInteger64, 0);
  EXPECT_FALSE(this->isAccepted());
  EXPECT_EQ(this->probe.log, withSSE);
  this->setTypes(0, 0);
  this->probe.hasSSE = false;
  EXPECT_FALSE(this->isAccepted());
  EXPECT_EQ(this->probe.log, withSSE);
}

TEST_OF_TYPES(IteratedOrder, OfABinaryImageHasTheLimitBeforeTheDevice) {
  this->input.interpretation = pxl::cBinary;
  this->algorithm.neighborhood = 0;
  this->algorithm.numberOfIterations = 1000;
  EXPECT_FALSE(this->isAccepted());
  EXPECT_EQ(this->probe.log,
            (Calls{"inputImage", "input.type", "input.interpretation", "neighborhood", "numberOfIterations"}));
}

TEST_OF_TYPES(IteratedOrder, ReadsNoLimitPropertyOfAGreyImage) {
  this->algorithm.numberOfIterations = 4294967295U;
  EXPECT_TRUE(this->isAccepted());
  for (std::string const& call : this->probe.log) {
    EXPECT_NE(call, "neighborhood");
    EXPECT_NE(call, "numberOfIterations");
  }
}

using ExtremaOrder = RunnerTest<Extrema>;

TEST_F(ExtremaOrder, IsSSEThenTypeThenSizeThenLevel) {
  EXPECT_TRUE(isAccepted());
  EXPECT_EQ(probe.log, (Calls{"hasSSE", "inputImage", "input.type", "getSizeOf", "getSSELevel"}));
  setTypes(pxl::cFloat, 0);
  EXPECT_TRUE(isAccepted());
  ASSERT_FALSE(probe.log.empty());
  EXPECT_EQ(probe.log.back(), "getSSELevel");
  setTypes(pxl::cInteger64, 0);
  EXPECT_FALSE(isAccepted());
  EXPECT_EQ(std::count(probe.log.begin(), probe.log.end(), "getSSELevel"), 0);
  probe.hasSSE = false;
  EXPECT_FALSE(isAccepted());
  EXPECT_EQ(probe.log, (Calls{"hasSSE"}));
}

}  // namespace
}  // namespace frame_test
