#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/MorphologyRules.h"
#include "morphology/Neighborhood26PlansReductionSimd.h"
#include "morphology/Neighborhood3dToValueSimd.h"
#include "morphology/RunRecursive.h"

namespace pxl::morphology {

struct Dilation3dSSE41Dispatcher {
  using Functor = details::DilationFunctor;

  template <class T>
  static void run(Dilation3d* algorithm) {
    switch (algorithm->neighborhood.get()) {
      case 0: {
        Neighborhood3dToValueSimd<Functor, access::Neighborhood3D_6Tag, access::NoDataType> faces;
        return runRecursive<Filter3dTag, Functor, T>(algorithm, faces, algorithm->numberOfIterations);
      }
      case 1: {
        Neighborhood3dToValueSimd<Functor, access::Neighborhood3D_18Tag, access::NoDataType> edges;
        return runRecursive<Filter3dTag, Functor, T>(algorithm, edges, algorithm->numberOfIterations);
      }
      default: {
        Neighborhood26PlansReductionSimd<Functor, T, SimdVec::arch_128_tag> cube;
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
  char const* getName() const override { return helper::cRunnerName; }
};

struct AutoRegisterRunnableDilation3dSSE41Runner : helper::AutoRegisterRunnable<Dilation3d, Dilation3dSSE41Runner> {};
AutoRegisterRunnableDilation3dSSE41Runner g_autoRegisterRunnableDilation3dSSE41Runner;

}  // namespace pxl::morphology
