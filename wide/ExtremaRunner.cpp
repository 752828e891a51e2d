#include <atomic>
#include <vector>

#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "Core/private/Helper/safe_cast.h"
#include "pxl/AlgoInfo.h"
#include "pxl/analysis/IntensityExtrema.h"
#include "wide/ExtremaKernels.h"
#include "wide/Pieces.h"
#include "wide/Targets.h"

namespace pxl::wide {
namespace {

using analysis::IntensityExtrema;

void merge(Extrema& all, Extrema const& part) {
  if (part.minimum < all.minimum) all.minimum = part.minimum;
  if (part.maximum > all.maximum) all.maximum = part.maximum;
  all.hasNaN = all.hasNaN || part.hasNaN;
  all.hasPlusZero = all.hasPlusZero || part.hasPlusZero;
  all.hasMinusZero = all.hasMinusZero || part.hasMinusZero;
}

// Which voxel is taken then depends on the order in which they are looked at.
bool isOrderSeen(Extrema const& extrema) {
  bool const isZero = extrema.minimum == 0 || extrema.maximum == 0;
  return extrema.hasNaN || (isZero && extrema.hasPlusZero && extrema.hasMinusZero);
}

/** The cells of the result, which lie on plans, sequence and spectral series. */
struct Cells {
  static constexpr Components cDimensions[] = {cPlans, cSequence, cSpectralSeries};

  Cells(MemoryImage const& image, int dimensions) : part(image) {
    // The bits of AnalysisDimensions.
    bool const isSelected[] = {(dimensions & 1) != 0, (dimensions & 4) != 0, (dimensions & 2) != 0};
    for (int i = 0; i < 3; ++i) {
      strides[i] = image.strides[cDimensions[i]];
      if (!isSelected[i]) continue;
      counts[i] = image.sizes[cDimensions[i]];
      part.sizes[cDimensions[i]] = 1;
    }
  }

  long getCount() const { return counts[0] * counts[1] * counts[2]; }
  long getPosition(long cell, int i) const {
    return i == 0 ? cell % counts[0] : i == 1 ? cell / counts[0] % counts[1] : cell / counts[0] / counts[1];
  }
  long getOffset(long cell) const {
    return getPosition(cell, 0) * strides[0] + getPosition(cell, 1) * strides[1] + getPosition(cell, 2) * strides[2];
  }

  MemoryImage part;  ///< the first cell
  long counts[3] = {1, 1, 1};
  long strides[3];
};

class ExtremaFilter final : public BaseTbbAlgorithm {
 public:
  ExtremaFilter(IntensityExtrema* algorithm, ExtremaKernel const& kernel)
      : BaseTbbAlgorithm(algorithm), m_algorithm(*algorithm), m_kernel(kernel) {}

  /**
   * @param leavesOrder  whether nothing is stored if the order of the voxels matters
   * @return false if nothing was stored
   */
  bool compute(Cells const& cells, long voxelSize, RunViews const& views, bool leavesOrder) {
    PieceCut const cut(&cells.part, 1, voxelSize);
    long const nbPieces = cut.getNbPieces(), nbCells = cells.getCount();
    unsigned long nbVoxels = static_cast<unsigned long>(nbCells);
    for (long size : cells.part.sizes) nbVoxels *= static_cast<unsigned long>(size);
    setMaxProgress(nbVoxels);
    std::vector<Extrema> parts(static_cast<std::size_t>(nbCells * nbPieces), m_kernel.none);
    std::vector<std::atomic<unsigned char>> ends(static_cast<std::size_t>(nbCells));
    std::atomic<bool> hasNaN{false};
    runPieces(*this, views, nbCells * nbPieces, [&](long index) {
      Piece const piece = cut.getPiece(index % nbPieces);
      long const nbCols = piece.nbBytes / voxelSize;
      auto& endsOfCell = ends[static_cast<std::size_t>(index / nbPieces)];
      if ((leavesOrder && hasNaN.load(std::memory_order_relaxed)) ||
          endsOfCell.load(std::memory_order_relaxed) == cBothEnds)
        return nbCols * piece.nbRows;
      Extrema& extrema = parts[static_cast<std::size_t>(index)];
      extrema =
          m_kernel.scan(piece.rows[0] + cells.getOffset(index / nbPieces), piece.strides[0], piece.nbRows, nbCols);
      if (extrema.hasNaN) hasNaN.store(true, std::memory_order_relaxed);
      if (unsigned char const found = findEnds(extrema)) endsOfCell.fetch_or(found, std::memory_order_relaxed);
      return nbCols * piece.nbRows;
    });
    for (long cell = 0; cell < nbCells; ++cell) {
      auto const first = static_cast<std::size_t>(cell * nbPieces);
      for (long i = 1; i < nbPieces; ++i) merge(parts[first], parts[first + static_cast<std::size_t>(i)]);
      if (leavesOrder && isOrderSeen(parts[first])) return false;
    }
    store(cells, parts, static_cast<std::size_t>(nbPieces));
    return true;
  }

 private:
  // The ends of the range of an integer type that are in a cell: no more voxels can extend a full range. Reals are
  // all looked at, as there may be a NaN.
  static constexpr unsigned char cLowEnd = 1, cHighEnd = 2, cBothEnds = 3;

  unsigned char findEnds(Extrema const& extrema) const {
    if (!m_kernel.isOfIntegers) return 0;
    int const low = extrema.minimum == m_kernel.none.maximum ? cLowEnd : 0;
    int const high = extrema.maximum == m_kernel.none.minimum ? cHighEnd : 0;
    return static_cast<unsigned char>(low | high);
  }

  void store(Cells const& cells, std::vector<Extrema> const& parts, std::size_t nbPieces) {
    analysis::IntensityExtremaMsr& measure = *m_algorithm.outputMeasure;
    object_model::TupleX shape(3);
    for (unsigned int i = 0; i < 3; ++i) shape[i] = static_cast<unsigned long>(cells.counts[i]);
    measure.minimum.resize(shape);
    measure.maximum.resize(shape);
    for (long cell = 0; cell < cells.getCount(); ++cell) {
      Extrema const& extrema = parts[static_cast<std::size_t>(cell) * nbPieces];
      auto const put = [&](analysis::MeasureArray& array, double value) {
        auto const at = [&](int i) { return static_cast<unsigned long>(cells.getPosition(cell, i)); };
        array.values[at(0) + array.strides[1] * at(1) + array.strides[2] * at(2)] = value;
      };
      put(measure.minimum, extrema.minimum);
      put(measure.maximum, extrema.maximum);
    }
  }

  IntensityExtrema& m_algorithm;
  ExtremaKernel const& m_kernel;
};

// The runner that is taken where there is none for wide vectors; null if it isn't loaded, or this processor has none.
Runnable const* findOther(BaseAlgorithm& algorithm) {
  for (Runnable* runner : algorithm.getAlgoInfo()->getRunners())
    if (runner->getOptimType() < cNarrowestSet.optimType && runner->isRunnable(&algorithm)) return runner;
  return nullptr;
}

class WideExtremaRunner final : public Runnable {
 public:
  void run(BaseAlgorithm* algorithm) const override {
    // Where order matters it is that of the other runner. Without one, NaN is skipped and a zero has either sign.
    Runnable const* const other = findOther(*algorithm);
    if (!compute(*helper::safe_cast<IntensityExtrema*>(algorithm), other != nullptr)) other->run(algorithm);
  }

  bool isRunnable(BaseAlgorithm* algorithm) const override { return explainRefusal(algorithm).empty(); }

  String explainRefusal(BaseAlgorithm* algorithm) const override {
    ImageModel const& image = *dynamic_cast<IntensityExtrema*>(algorithm)->inputImage.get();
    String const refusal = explainImages(*algorithm, {&image});
    if (!refusal.empty()) return refusal;
    for (int i = 0; i < cNbComponents; ++i)
      if (image.getNumOf(static_cast<Components>(i)) == 0) return "an image has no voxels";
    return String();
  }

  PXL_RUNS_ON(cNarrowestSet)

 private:
  static bool compute(IntensityExtrema& algorithm, bool leavesOrder) {
    ImageModel const* const image = algorithm.inputImage;
    VoxelTypes const type = image->getVoxelType();
    RunViews const views({image}, nullptr);
    return ExtremaFilter(&algorithm, *getExtremaKernel(chooseTarget().target, type))
        .compute(Cells(getMemoryImage(*image), algorithm.analysisDimensions),
                 static_cast<long>(helper::getSizeOf(type)), views, leavesOrder);
  }
};

helper::AutoRegisterRunnable<IntensityExtrema, WideExtremaRunner> g_autoRegisterRunnableIntensityExtremaWide;

}  // namespace
}  // namespace pxl::wide
