#include "RunnerChoice.h"

#include "Raise.h"
#include "RunnerRefusal.h"
#include "pxl/AlgoInfo.h"
#include "pxl/BaseAlgorithm.h"
#include "pxl/Runnable.h"

namespace pxl {

Runnable* chooseRunner(BaseAlgorithm& algorithm) {
  Runnable* chosen = nullptr;
  auto const runners = algorithm.getAlgoInfo()->getRunners();
  for (Runnable* runner : runners)
    if (runner->isRunnable(&algorithm) && (!chosen || runner->getOptimType() > chosen->getOptimType()))
      chosen = runner;
  if (!chosen) PXL_RAISE(RuntimeError, explainRefusal(algorithm, runners));
  return chosen;
}

}  // namespace pxl
