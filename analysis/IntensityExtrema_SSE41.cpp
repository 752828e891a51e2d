#include <utility>

#include "Core/private/Filters/ImageToQuantificationFilter.h"
#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "Core/private/Helper/InstructionSet.h"
#include "analysis/IntensityExtremaRule.h"
#include "analysis/IntensityExtremaSIMDGeneric.h"

namespace pxl::analysis {

struct IntensityExtremaSSEDispatcher {
  template <class T>
  using Filter = ImageToQuantificationFilter3d<T, SimdVec::arch_128_tag, IntensityExtremaSIMDGeneric<T>>;

  template <class T>
  static void run(std::pair<IntensityExtrema*, algorithms::AbstractPrivateImplementation*> argument) {
    IntensityExtremaMsr* const measure = argument.first->outputMeasure;
    unsigned int const mask = static_cast<unsigned int>(argument.first->analysisDimensions.get());
    ImageModel const* const image = argument.first->inputImage;
    unsigned long n[cNbComponents];
    for (int i = 0; i < cNbComponents; ++i) n[i] = image->getNumOf(static_cast<Components>(i));

    // A selected dimension has one cell per position; in the others each cell spans all positions.
    bool const perPlan = mask & 1, perSequence = mask & 4, perSpectral = mask & 2;
    object_model::TupleX cells(3);
    cells[0] = perPlan ? n[cPlans] : 1;
    cells[1] = perSequence ? n[cSequence] : 1;
    cells[2] = perSpectral ? n[cSpectralSeries] : 1;
    argument.second->setNumberOfSteps(cells[0] * cells[1] * cells[2]);
    measure->minimum.resize(cells);
    measure->maximum.resize(cells);
    unsigned long const nbPlans = perPlan ? 1 : n[cPlans];
    unsigned long const nbSequence = perSequence ? 1 : n[cSequence];
    unsigned long const nbSpectral = perSpectral ? 1 : n[cSpectralSeries];

    for (unsigned long i0 = 0; i0 < cells[0]; ++i0)
      for (unsigned long i1 = 0; i1 < cells[1]; ++i1)
        for (unsigned long i2 = 0; i2 < cells[2]; ++i2) {
          IntensityExtremaSIMDGeneric<T> extrema;
          Filter<T> filter(nullptr, &extrema);
          ImageModelSizeProxy const part(image, 0, n[cColumns], 0, n[cRows], i0, nbPlans, i1, nbSequence, i2,
                                         nbSpectral);
          auto const view = Filter<T>::ViewType::New(&part, access::ContinueBorderCondition<T>::New());
          filter.setInput(view);
          filter.setProcessingRegion(view->getLargestPossibleRegion());
          argument.second->runChildAlgo(&filter);
          store(measure->minimum, i0, i1, i2, extrema.minimum);
          store(measure->maximum, i0, i1, i2, extrema.maximum);
        }
  }

 private:
  template <class T>
  static void store(MeasureArray& array, unsigned long i0, unsigned long i1, unsigned long i2, T value) {
    array.values[i0 + array.strides[1] * i1 + array.strides[2] * i2] = static_cast<double>(value);
  }
};

class IntensityExtremaSSEPrivateImpl final : public algorithms::AbstractPrivateImplementation {
 public:
  explicit IntensityExtremaSSEPrivateImpl(IntensityExtrema* algorithm)
      : AbstractPrivateImplementation(algorithm), m_algorithm(algorithm) {}
  void run() override { IntensityExtremaRule<IntensityExtremaSSEDispatcher>::dispatch({m_algorithm, this}); }

 private:
  IntensityExtrema* m_algorithm;
};

class IntensityExtremaSSERunner final : public Runnable {
 public:
  void run(BaseAlgorithm* algorithm) const override {
    IntensityExtremaSSEPrivateImpl(helper::safe_cast<IntensityExtrema*>(algorithm)).run();
  }
  bool isRunnable(BaseAlgorithm* algorithm) const override {
    return IntensityExtremaRule<IntensityExtremaSSEDispatcher>::isRunnable(algorithm);
  }
  String explainRefusal(BaseAlgorithm*) const override { return helper::cSSE41.explainProcessor(); }
  PXL_RUNS_ON(helper::cSSE41)
};

PXL_REGISTER_RUNNER(IntensityExtrema, IntensityExtremaSSERunner)

}  // namespace pxl::analysis
