#include "RunnerRefusal.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <set>
#include <sstream>

#include "PropertyChecks.h"
#include "pxl/AlgoInfo.h"
#include "pxl/BaseAlgorithm.h"
#include "pxl/ImageModel.h"
#include "pxl/Plugins.h"
#include "pxl/Runnable.h"

namespace pxl {
namespace {

// An image with characteristics but without voxels.
class StandIn final : public ImageModel {
 public:
  explicit StandIn(ImageModel const& image)
      : type(image.getVoxelType()), interpretation(image.getInterpretation()), m_image(image) {}
  unsigned long getNumOf(Components const& component) const override { return m_image.getNumOf(component); }
  VoxelTypes getVoxelType() const override { return type; }
  int getInterpretation() const override { return interpretation; }

  VoxelTypes type;
  int interpretation;

 private:
  ImageModel const& m_image;
};

// A copy of an algorithm on stand-ins for its images, on which runners are asked about changed properties.
class Trial {
 public:
  Trial(BaseAlgorithm const& algorithm, std::vector<Runnable*> const& runners)
      : m_copy(algorithm.getAlgoInfo()->create()), m_runners(runners) {
    auto const& from = algorithm.getProperties();
    auto const& to = m_copy->getProperties();
    for (std::size_t i = 0; i < from.size(); ++i) {
      to[i]->assign(*from[i]);
      replaceImage(*to[i]);
    }
  }

  bool isAccepted() {
    return std::any_of(m_runners.begin(), m_runners.end(), [this](Runnable* runner) {
      try {
        return runner->isRunnable(m_copy.get());
      } catch (std::exception const&) {
        return false;  // it wants more of an image than a stand-in has
      }
    });
  }

  std::vector<std::unique_ptr<StandIn>> inputs;
  std::vector<std::unique_ptr<StandIn>> outputs;

 private:
  void replaceImage(PropertyBase& property) {
    visitProperty(property, Overloaded{[this](Property<ImageModel const*>& image) {
                                         inputs.push_back(std::make_unique<StandIn>(*image.get()));
                                         image.set(inputs.back().get());
                                       },
                                       [this](Property<ImageModel*>& image) {
                                         outputs.push_back(std::make_unique<StandIn>(*image.get()));
                                         image.set(outputs.back().get());
                                       },
                                       [](PropertyBase&) {}});
  }

  std::unique_ptr<BaseAlgorithm> m_copy;
  std::vector<Runnable*> m_runners;
};

// Reports whether a binary image was the reason.
bool explainBinary(Trial& trial, std::ostringstream& text) {
  std::vector<StandIn*> binaries;
  for (auto const& input : trial.inputs)
    if (input->interpretation == cBinary) binaries.push_back(input.get());
  for (StandIn* image : binaries) image->interpretation = cGrey;
  bool const isReason = !binaries.empty() && trial.isAccepted();
  for (StandIn* image : binaries) image->interpretation = cBinary;
  if (isReason) text << "; a grey image would be accepted";
  return isReason;
}

// The voxel types of all images that would be accepted.
void explainType(Trial& trial, std::ostringstream& text) {
  std::ostringstream accepted;
  for (int value = cUnsignedInteger8; value <= cDouble; ++value) {
    VoxelTypes const type = static_cast<VoxelTypes>(value);
    if (!helper::isImageType(type)) continue;
    for (auto* const images : {&trial.inputs, &trial.outputs})
      for (auto const& image : *images) image->type = type;
    if (trial.isAccepted()) accepted << ' ' << helper::getNameOf(type);
  }
  if (!accepted.str().empty()) text << "; accepted would be images of the same type," << accepted.str();
}

// The images that were refused.
void describeImages(BaseAlgorithm const& algorithm, std::ostringstream& text) {
  char const* separator = " ";
  for (PropertyKinds kind : {PropertyKinds::cInputImage, PropertyKinds::cOutputImage})
    for (NamedImage const& named : getNamedImages(algorithm, kind)) {
      VoxelTypes const type = named.image->getVoxelType();
      text << separator << named.name << " of " << helper::getNameOf(type)
           << (named.image->getInterpretation() == cBinary ? " (binary)" : "");
      separator = ", ";
    }
}

// The explanations of the runners, each text once.
void addExplanations(BaseAlgorithm& algorithm, std::vector<Runnable*> const& runners, std::ostringstream& text) {
  std::set<std::string> explanations;
  for (Runnable const* runner : runners) {
    String const explanation = runner->explainRefusal(&algorithm);
    if (!explanation.empty() && explanations.insert(explanation.str()).second) text << "; " << explanation.str();
  }
}

// The explanations of the runners, and the changes that would make one of them accept.
void explainDifference(BaseAlgorithm& algorithm, std::vector<Runnable*> const& runners, std::ostringstream& text) {
  try {
    addExplanations(algorithm, runners, text);
    Trial trial(algorithm, runners);
    if (!explainBinary(trial, text)) explainType(trial, text);
  } catch (std::exception const&) {
    // The refusal itself is reported all the same.
  }
}

}  // namespace

std::string explainOneRefusal(BaseAlgorithm& algorithm, Runnable& runner) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << "doesn't accept";
  describeImages(algorithm, text);
  explainDifference(algorithm, {&runner}, text);
  return text.str();
}

std::string explainRefusal(BaseAlgorithm& algorithm, std::vector<Runnable*> const& runners) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << algorithm.getAlgoInfo()->getName() << ": ";
  if (runners.empty()) {
    text << "no plug-in provides it";
    if (plugins::getLoaded().empty()) text << "; none is loaded";
    return text.str();
  }
  text << "none of " << runners.size() << " registered runner(s) accepts";
  describeImages(algorithm, text);
  explainDifference(algorithm, runners, text);
  return text.str();
}

}  // namespace pxl
