#pragma once

#include "pxl/BaseAlgorithm.h"
#include "pxl/Property.h"
#include "pxl/kernel/StructuringElement.h"

/**
 * Morphology with any structuring element B. Input and output have the same sizes and may be the same image. Voxels
 * beyond the edge, NaN and infinities are handled as Morphology.h describes. See Serra, Image Analysis and
 * Mathematical Morphology, 1982, and Soille, Morphological Image Analysis, 2003.
 */
namespace pxl::morphology {

/** Properties of the operators with any element. A two-dimensional element is applied to each plan. */
class PXL_API ElementMorphology : public BaseAlgorithm {
 public:
  ~ElementMorphology() override;

  Property<ImageModel const*> inputImage{*this, "inputImage", "image to read"};
  Property<kernel::StructuringElement> element{*this, "element", "neighbourhood, such as \"ball(3)\""};
  Property<ImageModel*> outputImage{*this, "outputImage", "image to write"};

 protected:
  ElementMorphology();
};

/** Properties of the two operators that apply the voxels of an element in one pass. Cost: voxels x size of B. */
class PXL_API ListedMorphology : public ElementMorphology {
 public:
  ~ListedMorphology() override;

  String validate() const override;
  RegionUses getRegionUse() const override;
  kernel::Margins getMargins() const override;
  std::vector<kernel::Offset3D> getOffsets() const override;
  double estimateSteps() const override;

 protected:
  ListedMorphology();
};

/**
 * Compositions of dilations and erosions. The host runs them itself, each step with the operator that has this
 * element, else with DilationElement3d or ErosionElement3d. A box is applied as lines where that is less work.
 * Degenerate cases are defined: elements in 0 passes copy the input, and binary images have no limit.
 *
 * Type: the output has the input's type. A difference of signed integers has the unsigned type of the same width
 * instead, which holds it exactly. A difference below 0 becomes 0; this happens where an infinity lost to a finite
 * value beyond the edge, or where no voxel of the element is inside the image. A difference of equal infinities is
 * NaN.
 *
 * Opening and closing use the mirrored element in the second step. So an opening is never above the image, a closing
 * is never below it, and repeating either changes nothing.
 *
 * Memory: the steps are computed in the output image. A gradient needs one extra image, and so does any other
 * difference in place. It is in memory if it is smaller than the extra memory and no image is on disk, else on disk.
 */
class PXL_API ComposedMorphology : public ElementMorphology {
 public:
  ~ComposedMorphology() override;

  String validate() const override;
  RegionUses getRegionUse() const override;
  /** The margins of the element, plus those of the mirrored one where it follows. */
  kernel::Margins getMargins() const override;
  /** The offsets of the element, extended by those of the mirrored one where it follows. */
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

/** Largest voxel of the element: out(p) = max { in(p + b) : b in B }. */
PXL_ELEMENT_OPERATOR(DilationElement3d, ListedMorphology)
/** Smallest voxel of the element: out(p) = min { in(p + b) : b in B }. */
PXL_ELEMENT_OPERATOR(ErosionElement3d, ListedMorphology)

/** Dilation: out(p) = max { in(p + b) : b in B }. */
PXL_ELEMENT_OPERATOR(Dilate, ComposedMorphology)
/** Erosion: out(p) = min { in(p + b) : b in B }. */
PXL_ELEMENT_OPERATOR(Erode, ComposedMorphology)
/** Erosion with B, then dilation with the mirrored B. */
PXL_ELEMENT_OPERATOR(Open, ComposedMorphology)
/** Dilation with B, then erosion with the mirrored B. */
PXL_ELEMENT_OPERATOR(Close, ComposedMorphology)
/** The image - its opening. */
PXL_ELEMENT_OPERATOR(WhiteTopHat, MorphologicalDifference)
/** Its closing - the image. */
PXL_ELEMENT_OPERATOR(BlackTopHat, MorphologicalDifference)

#undef PXL_ELEMENT_OPERATOR

/** What is subtracted from what. Other numbers are invalid. */
enum GradientModes : int { cFullGradient = 0, cOuterGradient = 1, cInnerGradient = 2 };

inline constexpr Choice cGradientModeNames[] = {
    {"full", cFullGradient, "the dilation minus the erosion"},
    {"outer", cOuterGradient, "the dilation minus the image; the element contains the voxel itself"},
    {"inner", cInnerGradient, "the image minus the erosion; the element contains the voxel itself"}};

/** The difference of two of dilation, image and erosion; see GradientModes. */
class PXL_API Gradient : public MorphologicalDifference {
 public:
  Gradient();
  ~Gradient() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;

  /** One of GradientModes. */
  Property<int> gradientMode{*this, "gradientMode", cFullGradient, cGradientModeNames,
                             "what is subtracted from what"};

  String validate() const override;
  double estimateSteps() const override;
};

}  // namespace pxl::morphology
