#include "pxl/morphology/ElementMorphology.h"

#include <algorithm>
#include <string>

#include "OperatorRecord.h"
#include "morphology/MorphologySteps.h"
#include "pxl/Exception.h"
#include "pxl/ImageModel.h"
#include "pxl/Runnable.h"

// The operators with any element, and the steps of the composed ones.

namespace pxl::morphology {
namespace {

using kernel::StructuringElement;

// The first step of an opening or closing goes into an image in which the second one works in place.
void open(MorphologySteps& steps, StructuringElement const& element, ImageModel* to) {
  steps.erode(steps.getInput(), element, to);
  steps.dilate(to, element.getMirrored(), to);
}

void close(MorphologySteps& steps, StructuringElement const& element, ImageModel* to) {
  steps.dilate(steps.getInput(), element, to);
  steps.erode(to, element.getMirrored(), to);
}

void compose(Dilate const& algorithm, MorphologySteps& steps) {
  steps.dilate(steps.getInput(), algorithm.element, steps.getOutput());
}

void compose(Erode const& algorithm, MorphologySteps& steps) {
  steps.erode(steps.getInput(), algorithm.element, steps.getOutput());
}

void compose(Open const& algorithm, MorphologySteps& steps) { open(steps, algorithm.element, steps.getOutput()); }

void compose(Close const& algorithm, MorphologySteps& steps) { close(steps, algorithm.element, steps.getOutput()); }

void compose(WhiteTopHat const& algorithm, MorphologySteps& steps) {
  ImageModel* const opened = steps.getFree();
  open(steps, algorithm.element, opened);
  steps.subtract(steps.getInput(), opened);
}

void compose(BlackTopHat const& algorithm, MorphologySteps& steps) {
  ImageModel* const closed = steps.getFree();
  close(steps, algorithm.element, closed);
  steps.subtract(closed, steps.getInput());
}

void compose(Gradient const& algorithm, MorphologySteps& steps) {
  StructuringElement const element = algorithm.element;
  if (algorithm.gradientMode == cOuterGradient) {
    ImageModel* const dilated = steps.getFree();
    steps.dilate(steps.getInput(), element, dilated);
    steps.subtract(dilated, steps.getInput());
  } else if (algorithm.gradientMode == cInnerGradient) {
    ImageModel* const eroded = steps.getFree();
    steps.erode(steps.getInput(), element, eroded);
    steps.subtract(steps.getInput(), eroded);
  } else {
    // The dilation comes last: in place it overwrites the input.
    ImageModel* const eroded = steps.getExtra();
    steps.erode(steps.getInput(), element, eroded);
    steps.dilate(steps.getInput(), element, steps.getOutput());
    steps.subtract(steps.getOutput(), eroded);
  }
}

template <class Algo>
class Composition final : public Runnable {
 public:
  /** Never destroyed, as the record that refers to it. */
  static Runnable* get() {
    static Composition* const composition = new Composition;
    return composition;
  }

  void run(BaseAlgorithm* algorithm) const override {
    auto& own = dynamic_cast<Algo&>(*algorithm);
    MorphologySteps steps(own);
    compose(own, steps);
    steps.run();
  }
  bool isRunnable(BaseAlgorithm*) const override { return true; }
  int getOptimType() const override { return 0; }
};

String refuseType(BaseAlgorithm const& algorithm, ImageModel const* input, ImageModel const* output) {
  if (!input || !output) return String();
  VoxelTypes const type = input->getVoxelType(), wanted = algorithm.getNaturalOutputType(type);
  if (output->getVoxelType() == wanted) return String();
  return std::string("for an input of ") + helper::getNameOf(type) + " the output must be " +
         helper::getNameOf(wanted) + ", not " + helper::getNameOf(output->getVoxelType());
}

bool holdsItself(StructuringElement const& element) {
  if (element.getKind() != kernel::ElementKinds::cBox && element.getKind() != kernel::ElementKinds::cMask)
    return true;
  auto const offsets = element.getOffsets();
  return std::find(offsets.begin(), offsets.end(), kernel::Offset3D{0, 0, 0}) != offsets.end();
}

constexpr WorkingDimension cVolume = WorkingDimension::cVolume;

}  // namespace

ElementMorphology::ElementMorphology() = default;
ElementMorphology::~ElementMorphology() = default;

ListedMorphology::ListedMorphology() = default;
ListedMorphology::~ListedMorphology() = default;
String ListedMorphology::validate() const {
  try {
    element.get().getOffsets();
  } catch (InvalidCall const& refusal) {
    return refusal.what();
  }
  return BaseAlgorithm::validate();
}
RegionUses ListedMorphology::getRegionUse() const { return RegionUses::cFromOrigin; }
kernel::Margins ListedMorphology::getMargins() const { return element.get().getMargins(); }
double ListedMorphology::estimateSteps() const { return static_cast<double>(element.get().getOffsets().size()); }

ComposedMorphology::ComposedMorphology(unsigned int nbPasses) : m_nbPasses(nbPasses) {}
ComposedMorphology::~ComposedMorphology() = default;
String ComposedMorphology::validate() const {
  String const refusal = refuseType(*this, inputImage, outputImage);
  return refusal.empty() ? BaseAlgorithm::validate() : refusal;
}
RegionUses ComposedMorphology::getRegionUse() const { return RegionUses::cWholeImage; }
kernel::Margins ComposedMorphology::getMargins() const {
  StructuringElement const given = element;
  return m_nbPasses == 1 ? given.getMargins() : given.getMargins() + given.getMirrored().getMargins();
}
double ComposedMorphology::estimateSteps() const { return m_nbPasses * morphology::estimateSteps(element); }

MorphologicalDifference::MorphologicalDifference(unsigned int nbPasses) : ComposedMorphology(nbPasses) {}
MorphologicalDifference::~MorphologicalDifference() = default;
VoxelTypes MorphologicalDifference::getNaturalOutputType(VoxelTypes ofInput) const {
  switch (ofInput) {
    case cInteger8:
      return cUnsignedInteger8;
    case cInteger16:
      return cUnsignedInteger16;
    case cInteger32:
      return cUnsignedInteger32;
    default:
      return ofInput;
  }
}

DilationElement3d::DilationElement3d() = default;
PXL_RECORD(DilationElement3d, "morphology", "largest voxel of any element", cVolume)
ErosionElement3d::ErosionElement3d() = default;
PXL_RECORD(ErosionElement3d, "morphology", "smallest voxel of any element", cVolume)

Dilate::Dilate() : ComposedMorphology(1) {}
PXL_COMPOSED_RECORD(Dilate, Composition<Dilate>::get(), "morphology", "dilation with any element", cVolume)
Erode::Erode() : ComposedMorphology(1) {}
PXL_COMPOSED_RECORD(Erode, Composition<Erode>::get(), "morphology", "erosion with any element", cVolume)
Open::Open() : ComposedMorphology(2) {}
PXL_COMPOSED_RECORD(Open, Composition<Open>::get(), "morphology", "erosion, then dilation with the mirrored element",
                    cVolume)
Close::Close() : ComposedMorphology(2) {}
PXL_COMPOSED_RECORD(Close, Composition<Close>::get(), "morphology",
                    "dilation, then erosion with the mirrored element", cVolume)
WhiteTopHat::WhiteTopHat() : MorphologicalDifference(2) {}
PXL_COMPOSED_RECORD(WhiteTopHat, Composition<WhiteTopHat>::get(), "morphology", "the image minus its opening",
                    cVolume)
BlackTopHat::BlackTopHat() : MorphologicalDifference(2) {}
PXL_COMPOSED_RECORD(BlackTopHat, Composition<BlackTopHat>::get(), "morphology", "the closing minus the image",
                    cVolume)

// Both passes read the input.
Gradient::Gradient() : MorphologicalDifference(1) {}
PXL_COMPOSED_RECORD(Gradient, Composition<Gradient>::get(), "morphology", "dilation minus erosion, or half of it",
                    cVolume)
String Gradient::validate() const {
  int const mode = gradientMode;
  if (gradientMode.getChoices().getText(mode).empty())
    return std::string("gradientMode must be 0 (full), 1 (outer) or 2 (inner), not ") + std::to_string(mode);
  if (mode != cFullGradient && !holdsItself(element))
    return "an outer or inner gradient needs an element that contains the voxel itself";
  return MorphologicalDifference::validate();
}
double Gradient::estimateSteps() const {
  return (gradientMode == cFullGradient ? 2 : 1) * morphology::estimateSteps(element);
}

}  // namespace pxl::morphology
