#pragma once

#include <tbb/task_arena.h>

#include "Core/private/Helper/RunnerTests.h"
#include "Core/private/Helper/safe_cast.h"
#include "Core/private/TmplDispatch/Visitor1Args.h"
#include "pxl/BaseAlgorithm.h"
#include "pxl/ImageModel.h"
#include "pxl/Runnable.h"
#include "pxl/access/View.h"
#include "wide/Plans2d.h"
#include "wide/ProgramFilter.h"
#include "wide/Targets.h"

namespace pxl::wide {

/** The optimisation type and name of the runners of this library. */
constexpr int cOptimType = 2;
constexpr char cRunnerName[] = "wide";

/** Why a run can't be taken whatever its element is, for users; empty if it can. */
String explainImages(BaseAlgorithm const& algorithm, ImageModel const& input, ImageModel const& output);

/** What is known of images that are taken. */
ProgramImages describeImages(ImageModel const& input, ImageModel const& output);
PlanImage getPlanImage(ProgramImages const& images);

/** Why stages can't be run; empty if they can. */
String explainStages(BaseAlgorithm const& algorithm, Stages const& stages, Polarities polarity,
                     ProgramImages const& images);

/** Runs the stages of an element. */
void runStages(BaseAlgorithm* algorithm, ImageModel const* input, ImageModel* output, Stages const& stages,
               Polarities polarity);

/**
 * The runner of an operator. Element has, each for a pointer to the algorithm,
 *   isIdle(algorithm)             whether the output stays as it is
 *   makeStages(algorithm, image)  its programs otherwise
 */
template <class Algo, class Element, Polarities polarity>
class WideRunner final : public Runnable {
 public:
  void run(BaseAlgorithm* algorithm) const override {
    Algo* const concrete = helper::safe_cast<Algo*>(algorithm);
    if (Element::isIdle(concrete)) return;
    ImageModel const* const input = concrete->inputImage;
    ImageModel* const output = concrete->outputImage;
    PlanImage const image = getPlanImage(describeImages(*input, *output));
    runStages(algorithm, input, output, Element::makeStages(concrete, image), polarity);
  }

  bool isRunnable(BaseAlgorithm* algorithm) const override { return explainRefusal(algorithm).empty(); }

  int getOptimType() const override { return cOptimType; }

  String explainRefusal(BaseAlgorithm* algorithm) const override {
    Algo* const concrete = dynamic_cast<Algo*>(algorithm);
    ImageModel const& input = *concrete->inputImage.get();
    ImageModel const& output = *concrete->outputImage.get();
    String const refusal = explainImages(*algorithm, input, output);
    if (!refusal.empty() || Element::isIdle(concrete)) return refusal;
    ProgramImages const images = describeImages(input, output);
    PlanImage const image = getPlanImage(images);
    return explainStages(*algorithm, Element::makeStages(concrete, image), polarity, images);
  }

  char const* getName() const override { return cRunnerName; }
};

}  // namespace pxl::wide
