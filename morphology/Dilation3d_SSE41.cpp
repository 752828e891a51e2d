#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "Core/private/Helper/RunnerTests.h"
#include "morphology/MorphologyRules.h"
#include "morphology/Passes3d.h"
#include "pxl/Runnable.h"

namespace pxl::morphology {

struct Dilation3dSSE41Dispatcher {
  using Functor = details::DilationFunctor;

  template <class T>
  static void run(Dilation3d* algorithm) {
    switch (algorithm->neighborhood.get()) {
      case 0: {
        FacesKernel<Functor> faces;
        return runRecursive<Filter3dTag, Functor, T>(algorithm, faces, algorithm->numberOfIterations);
      }
      case 1: {
        EdgesKernel<Functor> edges;
        return runRecursive<Filter3dTag, Functor, T>(algorithm, edges, algorithm->numberOfIterations);
      }
      default: {
        CubeKernel<Functor, T> cube;
        return runRecursive<Filter3dTag, Functor, T>(algorithm, cube, algorithm->numberOfIterations);
      }
    }
  }
};

class Dilation3dSSE41Runner final : public Runnable {
 public:
  void run(BaseAlgorithm* algorithm) const override {
    dispatchOnInput<Dilation3d, Dilation3dSSE41Dispatcher>(algorithm);
  }
  bool isRunnable(BaseAlgorithm* algorithm) const override { return isIteratedRunnable<Dilation3d>(algorithm); }
  int getOptimType() const override { return helper::cOptimType; }
  String explainRefusal(BaseAlgorithm*) const override { return helper::explainProcessor(); }
  char const* getName() const override { return helper::cRunnerName; }
};

struct AutoRegisterRunnableDilation3dSSE41Runner : helper::AutoRegisterRunnable<Dilation3d, Dilation3dSSE41Runner> {};
AutoRegisterRunnableDilation3dSSE41Runner g_autoRegisterRunnableDilation3dSSE41Runner;

}  // namespace pxl::morphology
