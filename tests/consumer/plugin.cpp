#include <algorithm>
#include <limits>
#include <memory>
#include <vector>

#include "object_model/Tuple.h"
#include "pxl/AlgoInfo.h"
#include "pxl/ImageModel.h"
#include "pxl/Runnable.h"
#include "pxl/access/View.h"
#include "pxl/analysis/IntensityExtrema.h"

// A plug-in of a third party: the extrema of a whole image, row by row.

namespace {

using pxl::analysis::IntensityExtrema;

class RowByRow : public pxl::Runnable {
 public:
  RowByRow() { IntensityExtrema::getClassInfo()->addRunner(this); }
  ~RowByRow() override { IntensityExtrema::getClassInfo()->removeRunner(this); }

  int getOptimType() const override { return 2; }

  bool isRunnable(pxl::BaseAlgorithm* algorithm) const override {
    return static_cast<IntensityExtrema*>(algorithm)->analysisDimensions.get() == 0;
  }

  void run(pxl::BaseAlgorithm* algorithm) const override {
    auto const& extrema = *static_cast<IntensityExtrema*>(algorithm);
    auto const view =
        pxl::access::View<double>::New(extrema.inputImage.get(), pxl::access::ContinueBorderCondition<double>::New());
    double minimum = std::numeric_limits<double>::max();
    double maximum = std::numeric_limits<double>::lowest();
    std::vector<double> row(view->nbCols);
    auto const& voxels = *view->getInterface();
    for (long s = 0; s < voxels.nbSpectralSeries; ++s)
      for (long t = 0; t < voxels.nbSequence; ++t)
        for (long p = 0; p < voxels.nbPlans; ++p)
          for (long r = 0; r < voxels.nbRows; ++r) {
            voxels.readRow(row.data(), voxels.nbCols, 0, r, p, t, s);
            for (double voxel : row) {
              minimum = std::min(minimum, voxel);
              maximum = std::max(maximum, voxel);
            }
          }
    store(extrema.outputMeasure.get()->minimum, minimum);
    store(extrema.outputMeasure.get()->maximum, maximum);
  }

 private:
  static void store(pxl::analysis::MeasureArray& array, double value) {
    object_model::TupleX shape(3);
    for (unsigned long i = 0; i < 3; ++i) shape[i] = 1;
    array.resize(shape);
    array.values[0] = value;
  }
};

RowByRow const g_runner;

}  // namespace
