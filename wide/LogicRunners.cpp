#include <type_traits>
#include <vector>

#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "Core/private/Helper/RunnerTests.h"
#include "Core/private/Helper/safe_cast.h"
#include "pxl/point_operations/LogicalOperation.h"
#include "wide/LogicKernels.h"
#include "wide/PastCaches.h"
#include "wide/Pieces.h"
#include "wide/Targets.h"

namespace pxl::wide {
namespace {

using point_operations::LogicalOperationWithImage;
using point_operations::LogicalOperationWithValue;

std::vector<ImageModel const*> getInputs(LogicalOperationWithImage const& algorithm) {
  return {algorithm.inputImage1, algorithm.inputImage2};
}
std::vector<ImageModel const*> getInputs(LogicalOperationWithValue const& algorithm) {
  return {algorithm.inputImage};
}

unsigned long getValue(LogicalOperationWithImage const&) { return 0; }
unsigned long getValue(LogicalOperationWithValue const& algorithm) {
  unsigned int const value = algorithm.value;
  // The voxels of a binary image are 0 and 1, so the value becomes 0 or 1, too.
  return algorithm.inputImage.get()->getInterpretation() == cBinary ? value != 0 : value;
}

unsigned long repeatForEightBytes(unsigned long value, unsigned long voxelSize) {
  unsigned long const mask = voxelSize == 4 ? 0xffffffff : voxelSize == 2 ? 0xffff : 0xff;
  unsigned long const ones = voxelSize == 4 ? 0x100000001 : voxelSize == 2 ? 0x1000100010001 : 0x101010101010101;
  return (value & mask) * ones;
}

// The output and what it is computed from.
using Images = std::vector<MemoryImage>;

// In place the lines of the result are read anyway.
bool isPastCaches(Images const& images, unsigned long nbBytes) {
  for (std::size_t i = 1; i < images.size(); ++i)
    if (images[i].voxels == images[0].voxels) return false;
  return isLargerThanCaches(nbBytes);
}

class LogicFilter final : public BaseTbbAlgorithm {
 public:
  LogicFilter(BaseAlgorithm* algorithm, LogicKernel kernel, RunViews const& views)
      : BaseTbbAlgorithm(algorithm), m_kernel(kernel), m_views(views) {}

  void compute(Images const& images, unsigned long value, long voxelSize) {
    unsigned long nbVoxels = 1;
    for (long size : images[0].sizes) nbVoxels *= static_cast<unsigned long>(size);
    setMaxProgress(nbVoxels);
    bool const isPast = isPastCaches(images, nbVoxels * static_cast<unsigned long>(voxelSize));
    PieceCut const cut(images.data(), static_cast<int>(images.size()), voxelSize);
    runPieces(*this, m_views, cut.getNbPieces(), [&](long index) {
      Piece const piece = cut.getPiece(index);
      m_kernel({piece.rows[1], piece.rows[2], piece.rows[0], piece.strides[1], piece.strides[2], piece.strides[0],
                piece.nbBytes, piece.nbRows, value, isPast});
      return piece.nbBytes / voxelSize * piece.nbRows;
    });
  }

 private:
  LogicKernel m_kernel;
  RunViews const& m_views;
};

template <class Algo>
class WideLogicRunner final : public Runnable {
 public:
  void run(BaseAlgorithm* algorithm) const override {
    Algo* const concrete = helper::safe_cast<Algo*>(algorithm);
    constexpr bool cIsWithValue = std::is_same_v<Algo, LogicalOperationWithValue>;
    std::vector<ImageModel const*> const inputs = getInputs(*concrete);
    ImageModel* const output = concrete->outputImage;
    RunViews const views(inputs, output);
    Images images{getMemoryImage(*output)};
    for (ImageModel const* input : inputs) images.push_back(getMemoryImage(*input));
    unsigned long const voxelSize = helper::getSizeOf(output->getVoxelType());
    LogicKernel const kernel = getLogicKernel(chooseTarget().target, concrete->logicalOperator, cIsWithValue);
    LogicFilter(algorithm, kernel, views)
        .compute(images, repeatForEightBytes(getValue(*concrete), voxelSize), static_cast<long>(voxelSize));
  }

  bool isRunnable(BaseAlgorithm* algorithm) const override { return explainRefusal(algorithm).empty(); }

  String explainRefusal(BaseAlgorithm* algorithm) const override {
    Algo* const concrete = dynamic_cast<Algo*>(algorithm);
    std::vector<ImageModel const*> images = getInputs(*concrete);
    if (!helper::isIntegerVoxelType(images.front()->getVoxelType())) return "the runner wide takes integers";
    if (concrete->logicalOperator < 0 || concrete->logicalOperator >= cNbLogicalOperators)
      return "logicalOperator is unknown";
    images.push_back(concrete->outputImage.get());
    return explainImages(*algorithm, images);
  }

  PXL_RUNS_ON(cNarrowestSet)
};

using WithImage = WideLogicRunner<LogicalOperationWithImage>;
using WithValue = WideLogicRunner<LogicalOperationWithValue>;
helper::AutoRegisterRunnable<LogicalOperationWithImage, WithImage> g_autoRegisterRunnableLogicWithImageWide;
helper::AutoRegisterRunnable<LogicalOperationWithValue, WithValue> g_autoRegisterRunnableLogicWithValueWide;

}  // namespace
}  // namespace pxl::wide
