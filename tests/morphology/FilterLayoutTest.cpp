// Fields of filters, passes and kernels in the order of the contract.
#include "Core/private/Filters/ImageToImageFilter.h"
#include "access/support/Layout.h"
#include "filtering/linear/FIR2dToValueSimd.h"
#include "filtering/linear/FIR3dToValueSimd.h"
#include "support/WatchingFilter.h"

namespace morphology_test {
namespace {

using access_test::offsetOf;
using Places = std::vector<long>;

struct NoFunctor {
  template <class AnyBlock, class Filter>
  void run(AnyBlock const&, Filter&) const {}
};

// Behind what all runs through TBB have.
constexpr long cOwn = sizeof(pxl::BaseTbbAlgorithm);

TEST(FilterLayout, OfRunsIsFlagAndCountsThenGroupAndRegion) {
  pxl::BaseTbbAlgorithm const run(nullptr);
  Places const places{offsetOf(run, run.m_cancelled),        offsetOf(run, run.m_progress),
                      offsetOf(run, run.m_maxProgress),      offsetOf(run, run.m_currentStep),
                      offsetOf(run, run.m_numberOfSteps),    offsetOf(run, run.m_taskGroupContext),
                      offsetOf(run, run.m_processingRegion), offsetOf(run, run.m_isRegionChosen)};
  EXPECT_EQ(Places(places.begin(), places.begin() + 5), (Places{8, 16, 24, 32, 40}));
  EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
}

TEST(FilterLayout, OfAFilterOfPassesIsKernelImagesCountAndBorder) {
  WatchingKernel kernel;
  WatchingFilter const filter(nullptr, &kernel);
  EXPECT_EQ((Places{offsetOf(filter, filter.kernel), offsetOf(filter, filter.input), offsetOf(filter, filter.output),
                    offsetOf(filter, filter.nbIterations), offsetOf(filter, filter.outputBorderCondition)}),
            (Places{cOwn, cOwn + 8, cOwn + 24, cOwn + 40, cOwn + 48}));
}

TEST(FilterLayout, OfOtherFiltersIsFunctorInputsOutputAndBorder) {
  NoFunctor functor;
  pxl::ImageToImageFilter3d<short, int, Arch, NoFunctor> const one(nullptr, &functor);
  EXPECT_EQ((Places{offsetOf(one, one.input), offsetOf(one, one.output), offsetOf(one, one.spareBorder)}),
            (Places{cOwn + 8, cOwn + 24, cOwn + 40}));
  pxl::ImagePairToImageFilter3d<short, short, int, Arch, NoFunctor> const pair(nullptr, &functor);
  EXPECT_EQ((Places{offsetOf(pair, pair.input1), offsetOf(pair, pair.input2), offsetOf(pair, pair.output),
                    offsetOf(pair, pair.spareBorder)}),
            (Places{cOwn + 8, cOwn + 24, cOwn + 40, cOwn + 56}));
}

TEST(FilterLayout, OfAPassIsViewsThenCachesOfRowsThenOfPlans) {
  HandRun<short> const run(oracle::Image<short>({4, 3, 1, 1, 1}), false, 0);
  auto const& pass = run.context;
  Places const places{offsetOf(pass, pass.input),           offsetOf(pass, pass.output),
                      offsetOf(pass, pass.inputRowCaches),  offsetOf(pass, pass.outputRowCaches),
                      offsetOf(pass, pass.inputPlanCaches), offsetOf(pass, pass.outputPlanCaches)};
  EXPECT_EQ(Places(places.begin(), places.begin() + 3), (Places{0, 16, 32}));
  EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
}

TEST(FilterLayout, OfBodiesIsKernelThenContextThenFilter) {
  pxl::TbbBodyRecursiveImage<int, long> const plan{};
  EXPECT_EQ((Places{offsetOf(plan, plan.kernel), offsetOf(plan, plan.context), offsetOf(plan, plan.filter)}),
            (Places{0, 8, 16}));
  pxl::TbbBody3DRecursiveImage<int, long> const volume{};
  EXPECT_EQ(
      (Places{offsetOf(volume, volume.kernel), offsetOf(volume, volume.context), offsetOf(volume, volume.filter)}),
      (Places{0, 8, 16}));
  pxl::TbbBody2DManyToManyImageFilter<int, long> const many{};
  EXPECT_EQ((Places{offsetOf(many, many.functor), offsetOf(many, many.filter)}), (Places{0, 8}));
}

TEST(FilterLayout, OfKernelsIsListThenCoefficientsAndFirstThenSecondMemos) {
  pxl::filtering::linear::FIR2dToValueSimd<float> const inPlan{};
  EXPECT_EQ((Places{offsetOf(inPlan, inPlan.offsets), offsetOf(inPlan, inPlan.coefficients)}), (Places{0, 24}));
  pxl::filtering::linear::FIR3dToValueSimd<double> const inVolume{};
  EXPECT_EQ((Places{offsetOf(inVolume, inVolume.offsets), offsetOf(inVolume, inVolume.coefficients)}),
            (Places{0, 24}));
  Square<DilationFunctor, short> const square;
  EXPECT_EQ((Places{offsetOf(square, square.firstMemos), offsetOf(square, square.secondMemos)}), (Places{0, 16}));
}

}  // namespace
}  // namespace morphology_test
