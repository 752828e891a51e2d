#include <algorithm>

#include "frame/support/Operators.h"
#include "pxl/Exception.h"

namespace frame_test {
namespace {

char const* getTypeidNameOf(int type) {
  switch (type) {
    case 0:
      return typeid(unsigned char).name();
    case 1:
      return typeid(unsigned short).name();
    case 2:
      return typeid(unsigned int).name();
    case 4:
      return typeid(signed char).name();
    case 5:
      return typeid(short).name();
    case 6:
      return typeid(int).name();
    case 8:
      return typeid(float).name();
    default:
      return typeid(double).name();
  }
}

template <class Op>
class RunOf : public RunnerTest<Op> {
 protected:
  // The type that must arrive for images of this type; empty when nothing may; "error" for an exception.
  static std::string getExpected(int type) {
    if (Op::cRule == Rule::cFir) {
      std::set<int> const floatTypes{0, 1, 4, 5, 8};
      return floatTypes.count(type) ? typeid(float).name() : typeid(double).name();
    }
    if ((Op::cRule == Rule::cLogical ? cSixTypes : cEightTypes).count(type)) return getTypeidNameOf(type);
    return std::set<int>{8, 9, 10, 11}.count(type) ? "" : "error";
  }

  std::string runAndReport() {
    takeReports();
    try {
      this->runner.run(&this->algorithm);
    } catch (pxl::RuntimeError const&) {
      return takeReports().empty() ? "error" : "error after a report";
    }
    auto const reports = takeReports();
    if (reports.empty()) return "";
    EXPECT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].algorithm, &this->algorithm);
    return reports[0].voxelType;
  }

  // The deciding image is the output in linear filters, else the input.
  static constexpr bool cDecidesByOutput = Op::cRule == Rule::cFir;
};
TEST_TYPES(RunOf, AllOperators, OperatorNames);

TEST_OF_TYPES(RunOf, AllTypeValuesReachTheRightInstance) {
  for (int type : getTypeValues()) {
    this->setTypes(type, type);
    EXPECT_EQ(this->runAndReport(), this->getExpected(type)) << type;
  }
}

TEST_OF_TYPES(RunOf, MixedTypesFollowTheDecidingImage) {
  for (int type : getTypeValues())
    for (int other : {0, 2, 3, 8, 9, 12}) {
      if (this->cDecidesByOutput)
        this->setTypes(other, type);
      else
        this->setTypes(type, other);
      EXPECT_EQ(this->runAndReport(), this->getExpected(type)) << type << " beside " << other;
    }
}

TEST_OF_TYPES(RunOf, LooksAtTheDecidingImageOnly) {
  this->probe.log.clear();
  this->runner.run(&this->algorithm);
  std::string const other = this->cDecidesByOutput ? "input." : "output.";
  for (std::string const& call : this->probe.log) EXPECT_EQ(call.find(other), std::string::npos) << call;
  EXPECT_EQ(std::count(this->probe.log.begin(), this->probe.log.end(),
                       this->cDecidesByOutput ? "output.type" : "input.type"),
            1);
}

// No vector instruction is needed to find out where to go: whether the processor is fit is isRunnable()'s matter.
TEST_OF_TYPES(RunOf, DoesNotAskTheDevice) {
  this->probe.hasSSE = false;
  this->probe.sseLevel = 0;
  this->probe.log.clear();
  this->runner.run(&this->algorithm);
  EXPECT_EQ(takeReports().size(), 1U);
  EXPECT_EQ(std::count(this->probe.log.begin(), this->probe.log.end(), "hasSSE"), 0);
  EXPECT_EQ(std::count(this->probe.log.begin(), this->probe.log.end(), "getSSELevel"), 0);
}

template <class Op>
std::string mangle() {
  std::vector<std::string> parts = getNamespaces<Op>();
  parts.emplace_back(Op::Algorithm::getClassInfo()->getName());
  std::string result = "PN";
  for (std::string const& part : parts) result += std::to_string(part.size()) + part;
  return result + "E";
}

template <class Op>
void expectBadCast(typename Op::Runner const& runner, pxl::BaseAlgorithm* algorithm) {
  try {
    runner.run(algorithm);
    FAIL() << "nothing was thrown";
  } catch (pxl::UnexpectedError const& error) {
    auto const& info = error.getExceptionInfo();
    EXPECT_EQ(info.message.str(), "bad cast when casting PN3pxl13BaseAlgorithmE into " + mangle<Op>());
    EXPECT_EQ(info.file.str(), "Core/private/Helper/safe_cast");
    EXPECT_EQ(info.line, 17);
    EXPECT_TRUE(info.context.empty());
    EXPECT_TRUE(info.advice.empty());
  }
  EXPECT_TRUE(takeReports().empty());
}

TEST_OF_TYPES(RunOf, NullIsABadCast) { expectBadCast<TypeParam>(this->runner, nullptr); }

TEST_OF_TYPES(RunOf, AForeignAlgorithmIsABadCast) {
  using Foreign = std::conditional_t<std::is_same_v<typename TypeParam::Algorithm, pxl::morphology::Dilation2d>,
                                     pxl::morphology::Erosion2d, pxl::morphology::Dilation2d>;
  Foreign foreign;
  expectBadCast<TypeParam>(this->runner, &foreign);
}

TEST_OF_TYPES(RunOf, ADerivedAlgorithmPasses) {
  class Derived : public TypeParam::Algorithm {};
  Derived derived;
  typename TypeParam::Algorithm& asOperator = derived;
  getLeading(asOperator) = &this->input;
  setOutput(asOperator, &this->output);
  this->runner.run(&derived);
  auto const reports = takeReports();
  ASSERT_EQ(reports.size(), 1U);
  EXPECT_EQ(reports[0].algorithm, &derived);
}

TEST_OF_TYPES(RunOf, TheDispatchersExceptionComesThroughUnchanged) {
  failDispatchers("as the dispatcher says");
  try {
    this->runner.run(&this->algorithm);
    FAIL() << "nothing was thrown";
  } catch (pxl::RuleException const& error) {
    EXPECT_EQ(error.getExceptionInfo().message.str(), "as the dispatcher says");
    EXPECT_EQ(error.getExceptionInfo().file.str(), "dispatcher");
    EXPECT_EQ(error.getExceptionInfo().line, 7);
  }
}

TEST_OF_TYPES(RunOf, AbsurdValuesAreNoMatterOfTheRunner) {
  if constexpr (TypeParam::cRule == Rule::cIterated) {
    this->algorithm.neighborhood = 99;
    this->algorithm.numberOfIterations = 0;
  } else if constexpr (TypeParam::cRule == Rule::cLogical) {
    this->algorithm.logicalOperator = -12345;
  } else if constexpr (TypeParam::cRule == Rule::cExtrema) {
    this->algorithm.analysisDimensions = INT_MIN;
  }
  EXPECT_TRUE(this->isAccepted());
  this->runner.run(&this->algorithm);
  EXPECT_EQ(takeReports().size(), 1U);
}

}  // namespace
}  // namespace frame_test
