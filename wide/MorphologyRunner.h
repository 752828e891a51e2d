#pragma once

#include <atomic>
#include <memory>
#include <utility>
#include <vector>

#include "Core/private/Helper/safe_cast.h"
#include "pxl/BaseAlgorithm.h"
#include "pxl/ImageModel.h"
#include "pxl/Runnable.h"
#include "wide/Plans2d.h"
#include "wide/ProgramFilter.h"
#include "wide/RunViews.h"
#include "wide/Targets.h"

namespace pxl::wide {

/** What is known of images that are taken. */
ProgramImages describeImages(ImageModel const& input, ImageModel const& output);
PlanImage getPlanImage(ProgramImages const& images);

/** Why stages can't be run; empty if they can. */
String explainStages(BaseAlgorithm const& algorithm, Stages const& stages, Polarities polarity,
                     ProgramImages const& images);

/** Runs the stages of an element. */
void runStages(BaseAlgorithm* algorithm, ImageModel const* input, ImageModel* output, Stages const& stages,
               Polarities polarity);

/** The stages of the element that a runner was asked about last, so that it plans once for the question and the run.
 */
class PlanCache {
 public:
  using Key = std::vector<long>;

  /** Those of `key`, which make() makes if they aren't here. By any number of threads. */
  template <class Make>
  std::shared_ptr<Stages const> get(Key&& key, Make const& make) {
    std::shared_ptr<Entry const> entry = std::atomic_load(&m_last);
    if (!entry || entry->key != key) {
      entry = std::make_shared<Entry const>(Entry{std::move(key), make()});
      std::atomic_store(&m_last, entry);
    }
    return {entry, &entry->stages};
  }

 private:
  struct Entry {
    Key key;
    Stages stages;
  };
  std::shared_ptr<Entry const> m_last;
};

/**
 * The runner of an operator. Element has, each for a pointer to the algorithm,
 *   isIdle(algorithm)             whether the output stays as it is
 *   getKey(algorithm)             numbers that are the same for the same element alone
 *   makeStages(algorithm, image)  the programs of the element
 */
template <class Algo, class Element, Polarities polarity>
class WideRunner final : public Runnable {
 public:
  void run(BaseAlgorithm* algorithm) const override {
    Algo* const concrete = helper::safe_cast<Algo*>(algorithm);
    if (Element::isIdle(concrete)) return;
    ImageModel const* const input = concrete->inputImage;
    ImageModel* const output = concrete->outputImage;
    runStages(algorithm, input, output, *getStages(concrete, describeImages(*input, *output)), polarity);
  }

  bool isRunnable(BaseAlgorithm* algorithm) const override { return explainRefusal(algorithm).empty(); }

  String explainRefusal(BaseAlgorithm* algorithm) const override {
    Algo* const concrete = dynamic_cast<Algo*>(algorithm);
    ImageModel const& input = *concrete->inputImage.get();
    ImageModel const& output = *concrete->outputImage.get();
    String const refusal = explainImages(*algorithm, {&input, &output});
    if (!refusal.empty() || Element::isIdle(concrete)) return refusal;
    ProgramImages const images = describeImages(input, output);
    return explainStages(*algorithm, *getStages(concrete, images), polarity, images);
  }

  bool splitsElements() const override { return true; }

  PXL_RUNS_ON(cNarrowestSet)

 private:
  std::shared_ptr<Stages const> getStages(Algo const* algorithm, ProgramImages const& images) const {
    PlanImage const image = getPlanImage(images);
    PlanCache::Key key = Element::getKey(algorithm);
    key.insert(key.end(), {image.sizes[0], image.sizes[1], image.sizes[2], image.type, image.limits.nbColumns,
                           image.limits.nbImageRows});
    return m_cache.get(std::move(key), [algorithm, &image] { return Element::makeStages(algorithm, image); });
  }

  mutable PlanCache m_cache;
};

}  // namespace pxl::wide
