#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/MorphologyRules.h"
#include "morphology/Neighborhood2dToValueSimd.h"
#include "morphology/Neighborhood8ColumnsReductionSimd.h"
#include "morphology/RunRecursive.h"

namespace pxl::morphology {

struct Erosion2dSSE41Dispatcher {
  using Functor = details::ErosionFunctor;

  template <class T>
  static void run(Erosion2d* algorithm) {
    if (algorithm->neighborhood == 0) {
      Neighborhood2dToValueSimd<Functor, access::Neighborhood2D_4Tag, access::NoDataType> cross;
      runRecursive<Filter2dTag, Functor, T>(algorithm, cross, algorithm->numberOfIterations);
    } else {
      Neighborhood8ColumnsReductionSimd<Functor, T, SimdVec::arch_128_tag> square;
      runRecursive<Filter2dTag, Functor, T>(algorithm, square, algorithm->numberOfIterations);
    }
  }
};

class Erosion2dSSE41Runner final : public Runnable {
 public:
  void run(BaseAlgorithm* algorithm) const override {
    dispatchOnInput<Erosion2d, Erosion2dSSE41Dispatcher>(algorithm);
  }
  bool isRunnable(BaseAlgorithm* algorithm) const override { return isIteratedRunnable<Erosion2d>(algorithm); }
  int getOptimType() const override { return helper::cOptimType; }
  char const* getName() const override { return helper::cRunnerName; }
};

struct AutoRegisterRunnableErosion2dSSE41Runner : helper::AutoRegisterRunnable<Erosion2d, Erosion2dSSE41Runner> {};
AutoRegisterRunnableErosion2dSSE41Runner g_autoRegisterRunnableErosion2dSSE41Runner;

}  // namespace pxl::morphology
