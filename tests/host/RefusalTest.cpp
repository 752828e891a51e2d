#include <functional>

#include "pxl/Exception.h"
#include "pxl/Image.h"
#include "pxl/analysis/IntensityExtrema.h"
#include "pxl/analysis/IntensityExtremaMsr.h"
#include "pxl/morphology/Morphology.h"
#include "support/Algorithms.h"
#include "support/Raised.h"

namespace host_test {
namespace {

using pxl::morphology::Dilation2d;

/** A runner whose rule is a test's. */
class ChoosyRunner final : public pxl::Runnable {
 public:
  explicit ChoosyRunner(std::function<bool(Dilation2d&)> rule) : m_rule(std::move(rule)) {
    Dilation2d::getClassInfo()->addRunner(this);
  }
  ~ChoosyRunner() override { Dilation2d::getClassInfo()->removeRunner(this); }
  void run(pxl::BaseAlgorithm*) const override { FAIL() << "runs"; }
  bool isRunnable(pxl::BaseAlgorithm* algorithm) const override {
    return m_rule(dynamic_cast<Dilation2d&>(*algorithm));
  }
  int getOptimType() const override { return 1; }
  pxl::String explainRefusal(pxl::BaseAlgorithm* algorithm) const override {
    EXPECT_NE(dynamic_cast<Dilation2d*>(algorithm), nullptr);
    return explanation;
  }

  pxl::String explanation;

 private:
  std::function<bool(Dilation2d&)> m_rule;
};

class Refusal : public ::testing::Test {
 protected:
  Refusal() {
    dilation.inputImage = image.get();
    dilation.outputImage = image.get();
  }
  std::string explain() {
    return raisedBy<pxl::RuntimeError>([this] { dilation.execute(); });
  }
  static bool isBinary(Dilation2d& algorithm) { return algorithm.inputImage.get()->getInterpretation() == 0; }

  std::shared_ptr<pxl::Image> image = pxl::Image::New(pxl::cUnsignedInteger16, {3, 2, 1, 1, 1}, pxl::cBinary);
  Dilation2d dilation;
};

// A limit is the runner's own, which may say so; the host looks for none.
TEST_F(Refusal, LeavesLimitsToTheRunner) {
  unsigned int nbAsked = 0;
  ChoosyRunner runner([&nbAsked](Dilation2d& asked) {
    ++nbAsked;
    return !isBinary(asked) || asked.numberOfIterations.get() <= 7;
  });
  runner.explanation = "takes seven";
  dilation.numberOfIterations = 8;
  EXPECT_TRUE(contains(explain(), "uint16 (binary); takes seven; a grey image would be accepted")) << explain();
  nbAsked = 0;
  explain();
  EXPECT_LE(nbAsked, 3U);
}

TEST_F(Refusal, TellsThatAGreyImageWouldDo) {
  ChoosyRunner const runner([](Dilation2d& asked) { return !isBinary(asked); });
  EXPECT_TRUE(contains(explain(), "; a grey image would be accepted")) << explain();
}

TEST_F(Refusal, TellsTheAcceptedTypes) {
  ChoosyRunner const runner([](Dilation2d& asked) {
    return asked.inputImage.get()->getVoxelType() == pxl::cInteger8 ||
           asked.inputImage.get()->getVoxelType() == pxl::cDouble;
  });
  EXPECT_TRUE(contains(explain(), "; accepted would be images of the same type, int8 float64")) << explain();
}

TEST_F(Refusal, TellsWhenOnlyTheTypesOfInputAndOutputDiffer) {
  auto const output = pxl::Image::New(pxl::cFloat, {3, 2, 1, 1, 1});
  dilation.outputImage = output.get();
  ChoosyRunner const runner([](Dilation2d& asked) {
    return asked.inputImage.get()->getVoxelType() == asked.outputImage.get()->getVoxelType();
  });
  EXPECT_TRUE(contains(explain(),
                       "inputImage of uint16 (binary), outputImage of float32; accepted would be "
                       "images of the same type, uint8 uint16 uint32 int8 int16 int32 float32 float64"))
      << explain();
}

TEST_F(Refusal, TellsWhatEachRunnerSaysOnce) {
  auto const never = [](Dilation2d&) { return false; };
  ChoosyRunner first(never), second(never), silent(never);
  first.explanation = "needs a larger hat";
  second.explanation = first.explanation;
  std::string const named =
      "none of 3 registered runner(s) accepts inputImage of uint16 (binary), outputImage of "
      "uint16 (binary)";
  EXPECT_TRUE(contains(explain(), named + "; needs a larger hat")) << explain();
  std::string const text = explain();
  EXPECT_EQ(text.find("larger hat"), text.rfind("larger hat")) << text;
  second.explanation = "is asleep";
  EXPECT_TRUE(contains(explain(), named + "; needs a larger hat; is asleep")) << explain();
}

TEST_F(Refusal, TellsWhatARunnerSaysBesideWhatWouldBeAccepted) {
  ChoosyRunner runner([](Dilation2d& asked) { return !isBinary(asked); });
  runner.explanation = "bits are not its thing";
  EXPECT_TRUE(contains(explain(), "; bits are not its thing; a grey image would be accepted")) << explain();
}

TEST_F(Refusal, TellsNoReasonThatItDoesNotKnow) {
  ChoosyRunner const runner([](Dilation2d&) { return false; });
  EXPECT_EQ(explain().find(';'), std::string::npos) << explain();
}

TEST_F(Refusal, StaysOneWhenARunnerWantsMoreOfAnImageThanItsDescription) {
  ChoosyRunner const runner([](Dilation2d& asked) { return asked.inputImage.get()->getSource().size[0] == 0; });
  EXPECT_TRUE(contains(explain(), "none of 1 registered runner(s) accepts inputImage of uint16 (binary)"));
}

}  // namespace
}  // namespace host_test
