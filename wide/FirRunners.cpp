#include <type_traits>

#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "Core/private/Helper/RunnerTests.h"
#include "Core/private/Helper/safe_cast.h"
#include "pxl/filtering/linear/FiniteImpulseResponseFilter.h"
#include "wide/FirFilter.h"
#include "wide/Targets.h"

namespace pxl::wide {
namespace {

using filtering::linear::FiniteImpulseResponseFilter2D;
using filtering::linear::FiniteImpulseResponseFilter3D;

std::vector<kernel::Offset3D> toVolume(std::vector<kernel::Offset3D> const& offsets) { return offsets; }
std::vector<kernel::Offset3D> toVolume(std::vector<kernel::Offset2D> const& offsets) {
  std::vector<kernel::Offset3D> result;
  for (kernel::Offset2D const& offset : offsets) result.push_back({offset.col, offset.row, 0});
  return result;
}

template <class Algo>
class WideFirRunner final : public Runnable {
 public:
  void run(BaseAlgorithm* algorithm) const override {
    Algo* const concrete = helper::safe_cast<Algo*>(algorithm);
    ImageModel const* const input = concrete->inputImage;
    ImageModel* const output = concrete->outputImage;
    RunViews const views({input}, output);
    FirImages const images(*input, *output, cIsVolume);
    FirFilter(algorithm, makeTaps(*concrete, images), getKernels(*output), images, views).run();
  }

  bool isRunnable(BaseAlgorithm* algorithm) const override { return explainRefusal(algorithm).empty(); }

  String explainRefusal(BaseAlgorithm* algorithm) const override {
    Algo* const concrete = dynamic_cast<Algo*>(algorithm);
    ImageModel const& input = *concrete->inputImage.get();
    ImageModel const& output = *concrete->outputImage.get();
    String const refusal = explainImages(*algorithm, {&input, &output});
    if (!refusal.empty()) return refusal;
    FirImages const images(input, output, cIsVolume);
    FirTaps const taps = makeTaps(*concrete, images);
    // Which NaN a product of two has depends on the instructions.
    if (taps.getNbTaps() == 0 || taps.hasNaN()) return "the runner wide takes kernels of numbers";
    // The rows that threads work on don't count, as with the other runner; asking costs more than a small image.
    constexpr unsigned long cNbUncountedBytes = 1024 * 1024;
    unsigned long const nbBytes = countExtraBytes(taps, getKernels(output), images);
    if (nbBytes > cNbUncountedBytes && nbBytes > algorithm->getMaximumExtraMemoryUsageInBytes())
      return "the runner wide needs more extra memory";
    return String();
  }

  PXL_RUNS_ON(cNarrowestSet)

 private:
  static constexpr bool cIsVolume = std::is_same_v<Algo, FiniteImpulseResponseFilter3D>;

  static FirKernels const& getKernels(ImageModel const& image) {
    return *getFirKernels(chooseTarget().target, image.getVoxelType());
  }

  static FirTaps makeTaps(Algo const& algorithm, FirImages const& images) {
    auto const& kernel = algorithm.kernel.get();
    bool const isFloat = helper::isExactInFloat(algorithm.outputImage.get()->getVoxelType());
    return FirTaps(cIsVolume, images.getBox(), toVolume(kernel.getOffsets()), kernel.getCoefficients(), isFloat);
  }
};

using Runner2d = WideFirRunner<FiniteImpulseResponseFilter2D>;
using Runner3d = WideFirRunner<FiniteImpulseResponseFilter3D>;
helper::AutoRegisterRunnable<FiniteImpulseResponseFilter2D, Runner2d> g_autoRegisterRunnableFir2dWide;
helper::AutoRegisterRunnable<FiniteImpulseResponseFilter3D, Runner3d> g_autoRegisterRunnableFir3dWide;

}  // namespace
}  // namespace pxl::wide
