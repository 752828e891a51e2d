#pragma once

#include "pxl/BaseAlgorithm.h"
#include "pxl/Property.h"
#include "pxl/kernel/StructuringElement.h"

/**
 * Morphology with any structuring element. Input and output have the same sizes; they may be the same image. What
 * Morphology.h says of voxels beyond the edge, NaN and infinities holds here, too. See Serra, Image Analysis and
 * Mathematical Morphology, 1982, and Soille, Morphological Image Analysis, 2003.
 */
namespace pxl::morphology {

/** Properties of the operators with any element. An element of two dimensions is applied to each plan. */
class PXL_API ElementMorphology : public BaseAlgorithm {
 public:
  ~ElementMorphology() override;

  Property<ImageModel const*> inputImage{*this, "inputImage", "image to read"};
  Property<kernel::StructuringElement> element{*this, "element", "neighbourhood, such as \"ball(3)\""};
  Property<ImageModel*> outputImage{*this, "outputImage", "image to write"};

 protected:
  ElementMorphology();
};

/** Properties of the two operators that go over the list of an element in one pass. */
class PXL_API ListedMorphology : public ElementMorphology {
 public:
  ~ListedMorphology() override;

  String getObjection() const override;
  RegionUses getRegionUse() const override;
  kernel::Margins getMargins() const override;
  std::vector<kernel::Offset3D> getOffsets() const override;
  double estimateSteps() const override;

 protected:
  ListedMorphology();
};

/**
 * What users compose of dilations and erosions. The host runs these itself, each step with the operator whose element
 * it is, else with DilationElement3d or ErosionElement3d; a box as lines where that is less work. Nothing is refused
 * that has a meaning: elements in passes without a pass copy the input, and binary images have no limit.
 *
 * The output has the input's type. A difference of signed integers has the unsigned type of the same width instead,
 * which holds it exactly. A difference that would be below 0 is 0: of an infinity that lost to a finite value beyond
 * the edge, or where no voxel of the element lies in the image. One of equal infinities is NaN. Opening and closing
 * turn their element around for the second step, so that an opening is never above the image, a closing never below
 * it, and a second one changes nothing.
 *
 * The steps are done in the output image. A gradient needs one extra image, and so does a difference in place, but
 * for the gradient: in memory if it is smaller than the extra memory and no image is on disk, else on disk.
 */
class PXL_API ComposedMorphology : public ElementMorphology {
 public:
  ~ComposedMorphology() override;

  String getObjection() const override;
  RegionUses getRegionUse() const override;
  /** Those of the element, and of the mirrored one where that follows. */
  kernel::Margins getMargins() const override;
  /** Those of the element, and from there of the mirrored one where that follows. */
  std::vector<kernel::Offset3D> getOffsets() const override;
  double estimateSteps() const override;

 protected:
  explicit ComposedMorphology(unsigned int nbPasses);

 private:
  unsigned int m_nbPasses;  ///< dilations and erosions, one after the other
};

/** Properties of the compositions that end with a difference. */
class PXL_API MorphologicalDifference : public ComposedMorphology {
 public:
  ~MorphologicalDifference() override;

  VoxelTypes getNaturalOutputType(VoxelTypes ofInput) const override;

 protected:
  explicit MorphologicalDifference(unsigned int nbPasses);
};

#define PXL_ELEMENT_OPERATOR(Name, Base)    \
  class PXL_API Name : public Base {        \
   public:                                  \
    Name();                                 \
    ~Name() override;                       \
    static AlgoInfo* getClassInfo();        \
    AlgoInfo* getAlgoInfo() const override; \
  };

/** The largest voxel of an element. */
PXL_ELEMENT_OPERATOR(DilationElement3d, ListedMorphology)
/** The smallest voxel of an element. */
PXL_ELEMENT_OPERATOR(ErosionElement3d, ListedMorphology)

PXL_ELEMENT_OPERATOR(Dilate, ComposedMorphology)
PXL_ELEMENT_OPERATOR(Erode, ComposedMorphology)
/** Erosion, then dilation by the mirrored element. */
PXL_ELEMENT_OPERATOR(Open, ComposedMorphology)
/** Dilation, then erosion by the mirrored element. */
PXL_ELEMENT_OPERATOR(Close, ComposedMorphology)
/** The image less its opening. */
PXL_ELEMENT_OPERATOR(WhiteTopHat, MorphologicalDifference)
/** The closing less the image. */
PXL_ELEMENT_OPERATOR(BlackTopHat, MorphologicalDifference)

#undef PXL_ELEMENT_OPERATOR

/** What is taken from what; no other number is one. */
enum GradientModes : int { cFullGradient = 0, cOuterGradient = 1, cInnerGradient = 2 };

inline constexpr Choice cGradientModeNames[] = {
    {"full", cFullGradient, "the dilation less the erosion"},
    {"outer", cOuterGradient, "the dilation less the image; the element holds the voxel itself"},
    {"inner", cInnerGradient, "the image less the erosion; the element holds the voxel itself"}};

/** How much voxels differ around each voxel. */
class PXL_API Gradient : public MorphologicalDifference {
 public:
  Gradient();
  ~Gradient() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;

  /** One of GradientModes. */
  Property<int> gradientMode{*this, "gradientMode", cFullGradient, cGradientModeNames, "what is taken from what"};

  String getObjection() const override;
  double estimateSteps() const override;
};

}  // namespace pxl::morphology
