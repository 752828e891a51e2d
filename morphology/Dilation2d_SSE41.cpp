#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "Core/private/Helper/RunnerTests.h"
#include "morphology/MorphologyRules.h"
#include "morphology/Passes2d.h"
#include "pxl/Runnable.h"

namespace pxl::morphology {

struct Dilation2dSSE41Dispatcher {
  using Functor = details::DilationFunctor;

  template <class T>
  static void run(Dilation2d* algorithm) {
    if (algorithm->neighborhood == 0) {
      CrossKernel<Functor> cross;
      runRecursive<Filter2dTag, Functor, T>(algorithm, cross, algorithm->numberOfIterations);
    } else {
      SquareKernel<Functor, T> square;
      runRecursive<Filter2dTag, Functor, T>(algorithm, square, algorithm->numberOfIterations);
    }
  }
};

class Dilation2dSSE41Runner final : public Runnable {
 public:
  void run(BaseAlgorithm* algorithm) const override {
    dispatchOnInput<Dilation2d, Dilation2dSSE41Dispatcher>(algorithm);
  }
  bool isRunnable(BaseAlgorithm* algorithm) const override { return isIteratedRunnable<Dilation2d>(algorithm); }
  int getOptimType() const override { return helper::cOptimType; }
  String explainRefusal(BaseAlgorithm*) const override { return helper::explainProcessor(); }
  char const* getName() const override { return helper::cRunnerName; }
};

struct AutoRegisterRunnableDilation2dSSE41Runner : helper::AutoRegisterRunnable<Dilation2d, Dilation2dSSE41Runner> {};
AutoRegisterRunnableDilation2dSSE41Runner g_autoRegisterRunnableDilation2dSSE41Runner;

}  // namespace pxl::morphology
