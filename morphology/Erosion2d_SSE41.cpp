#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "Core/private/Helper/RunnerTests.h"
#include "morphology/MorphologyRules.h"
#include "morphology/Passes2d.h"
#include "pxl/Runnable.h"

namespace pxl::morphology {

struct Erosion2dSSE41Dispatcher {
  using Functor = details::ErosionFunctor;

  template <class T>
  static void run(Erosion2d* algorithm) {
    if (algorithm->neighborhood == 0) {
      CrossKernel<Functor> cross;
      runRecursive<Filter2dTag, Functor, T>(algorithm, cross, algorithm->numberOfIterations);
    } else {
      SquareKernel<Functor, T> square;
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
  String explainRefusal(BaseAlgorithm*) const override { return helper::explainProcessor(); }
  char const* getName() const override { return helper::cRunnerName; }
};

struct AutoRegisterRunnableErosion2dSSE41Runner : helper::AutoRegisterRunnable<Erosion2d, Erosion2dSSE41Runner> {};
AutoRegisterRunnableErosion2dSSE41Runner g_autoRegisterRunnableErosion2dSSE41Runner;

}  // namespace pxl::morphology
