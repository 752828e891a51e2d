#pragma once

#include "pxl/BaseAlgorithm.h"
#include "pxl/Property.h"

/**
 * Grey-scale dilation (largest voxel of a neighbourhood) and erosion (smallest). Input and output have the same
 * sizes; they may be the same image. See Serra, Image Analysis and Mathematical Morphology, 1982, and Soille,
 * Morphological Image Analysis, 2003.
 *
 * Voxels beyond the image's edge have the lowest finite value of the type for a dilation, the highest for an erosion:
 * they never win against finite voxels. Other reals follow the processor:
 * - An infinity loses to the finite value beyond the edge: a dilation of nothing but -infinity gives the lowest
 * finite value along the edge, an erosion of nothing but infinity the highest.
 * - Of two voxels the one that is taken later stays where either is NaN or both are zero. So a NaN may spread or
 *   vanish, and a zero has the sign of the last one, by the fixed order in which an operator takes its neighbours; a
 *   value beyond the edge that comes after a NaN wins.
 * - In an output of integers NaN becomes 0, which is not a monotone conversion. The result of several passes on an
 *   input with NaN then depends on the extra memory: a temporary image keeps NaN from one pass to the next, the
 *   output doesn't.
 */
namespace pxl::morphology {

/** The neighbourhoods in a plan, each with the voxel itself. Any other number counts as cSquare. */
enum Neighborhoods2d : int { cCross = 0, cSquare = 1 };

/** The neighbourhoods in a volume, each with the voxel itself. Any other number counts as cCube. */
enum Neighborhoods3d : int { cFaces = 0, cEdges = 1, cCube = 2 };

/** How exact a disk or ball is. Any other number counts as cExactShape. */
enum ShapeModes : int { cFastShape = 0, cExactShape = 1 };

inline constexpr Choice cNeighborhood2dNames[] = {{"cross", cCross, "the 4 neighbours that share an edge"},
                                                  {"square", cSquare, "all 8; so does any other number"}};

inline constexpr Choice cNeighborhood3dNames[] = {{"faces", cFaces, "the 6 neighbours that share a face"},
                                                  {"edges", cEdges, "the 18 that share a face or an edge"},
                                                  {"cube", cCube, "all 26; so does any other number"}};

inline constexpr Choice cShapeModeNames[] = {
    {"fast", cFastShape, "an octagon or polyhedron; with radius 0 the output stays untouched"},
    {"exact", cExactShape, "all voxels within the radius; so does any other number"}};

/** Properties of the operators that repeat an elementary step. */
class PXL_API IteratedMorphology : public BaseAlgorithm {
 public:
  ~IteratedMorphology() override;

  Property<ImageModel const*> inputImage{*this, "inputImage", "image to read"};
  Property<unsigned int> numberOfIterations{*this, "numberOfIterations", 1,
                                            "how often the step is repeated; with 0 the output stays untouched"};
  /** Neighborhoods2d or Neighborhoods3d. */
  Property<int> neighborhood;
  Property<ImageModel*> outputImage{*this, "outputImage", "image to write"};

  String getNotice() const override;
  RegionUses getRegionUse() const override;
  double estimateSteps() const override;

 protected:
  IteratedMorphology(int defaultNeighborhood, Choices const& neighborhoods);
};

/**
 * Properties of the operators with a round neighbourhood. The fast shape takes `radius` passes, whatever the size of
 * the element, and always works on the whole image; the exact one is a single pass in time proportional to the voxels
 * of the element.
 */
class PXL_API RadiusMorphology : public BaseAlgorithm {
 public:
  ~RadiusMorphology() override;

  Property<ImageModel const*> inputImage{*this, "inputImage", "image to read"};
  Property<unsigned int> radius{*this, "radius", 1, "radius in voxels"};
  /** ShapeModes */
  Property<int> shapeMode{*this, "shapeMode", cFastShape, cShapeModeNames, "how the shape is made"};
  Property<ImageModel*> outputImage{*this, "outputImage", "image to write"};

  String getNotice() const override;
  String getObjection() const override;
  RegionUses getRegionUse() const override;
  double estimateSteps() const override;

 protected:
  RadiusMorphology();
};

/** Properties of the operators with a flat disk of any orientation in a volume. */
class PXL_API OrientedDiskMorphology : public BaseAlgorithm {
 public:
  ~OrientedDiskMorphology() override;

  Property<ImageModel const*> inputImage{*this, "inputImage", "image to read"};
  Property<double> firstAngle{*this, "firstAngle", 0.0, "azimuth of the disk's normal, degrees"};
  Property<double> secondAngle{*this, "secondAngle", 0.0, "elevation of the disk's normal out of the plan, degrees"};
  Property<unsigned int> radius{*this, "radius", 1, "radius in voxels"};
  Property<ImageModel*> outputImage{*this, "outputImage", "image to write"};

  String getObjection() const override;
  RegionUses getRegionUse() const override;
  double estimateSteps() const override;

 protected:
  OrientedDiskMorphology();
};

/** Properties of the operators with a line in a plan. */
class PXL_API Line2dMorphology : public BaseAlgorithm {
 public:
  ~Line2dMorphology() override;

  Property<ImageModel const*> inputImage{*this, "inputImage", "image to read"};
  Property<double> lineAngle{*this, "lineAngle", 0.0, "angle, degrees counter-clockwise as displayed"};
  Property<unsigned int> lineSize{*this, "lineSize", 3, "length in voxels"};
  Property<ImageModel*> outputImage{*this, "outputImage", "image to write"};

  RegionUses getRegionUse() const override;
  double estimateSteps() const override;

 protected:
  Line2dMorphology();
};

/** Properties of the operators with a line in a volume. */
class PXL_API Line3dMorphology : public BaseAlgorithm {
 public:
  ~Line3dMorphology() override;

  Property<ImageModel const*> inputImage{*this, "inputImage", "image to read"};
  Property<double> firstAngle{*this, "firstAngle", 0.0, "azimuth, degrees counter-clockwise as displayed"};
  Property<double> secondAngle{*this, "secondAngle", 0.0, "elevation out of the plan, degrees"};
  Property<unsigned int> lineSize{*this, "lineSize", 3, "length in voxels"};
  Property<ImageModel*> outputImage{*this, "outputImage", "image to write"};

  RegionUses getRegionUse() const override;
  double estimateSteps() const override;

 protected:
  Line3dMorphology();
};

#define PXL_MORPHOLOGY_OPERATOR(Name, Base) \
  class PXL_API Name : public Base {        \
   public:                                  \
    Name();                                 \
    ~Name() override;                       \
    static AlgoInfo* getClassInfo();        \
    AlgoInfo* getAlgoInfo() const override; \
  };

PXL_MORPHOLOGY_OPERATOR(Dilation2d, IteratedMorphology)
PXL_MORPHOLOGY_OPERATOR(Dilation3d, IteratedMorphology)
PXL_MORPHOLOGY_OPERATOR(DilationBall3d, RadiusMorphology)
PXL_MORPHOLOGY_OPERATOR(DilationDisk2d, RadiusMorphology)
PXL_MORPHOLOGY_OPERATOR(DilationDisk3d, OrientedDiskMorphology)
PXL_MORPHOLOGY_OPERATOR(DilationLine2d, Line2dMorphology)
PXL_MORPHOLOGY_OPERATOR(DilationLine3d, Line3dMorphology)
PXL_MORPHOLOGY_OPERATOR(Erosion2d, IteratedMorphology)
PXL_MORPHOLOGY_OPERATOR(Erosion3d, IteratedMorphology)
PXL_MORPHOLOGY_OPERATOR(ErosionBall3d, RadiusMorphology)
PXL_MORPHOLOGY_OPERATOR(ErosionDisk2d, RadiusMorphology)
PXL_MORPHOLOGY_OPERATOR(ErosionDisk3d, OrientedDiskMorphology)
PXL_MORPHOLOGY_OPERATOR(ErosionLine2d, Line2dMorphology)
PXL_MORPHOLOGY_OPERATOR(ErosionLine3d, Line3dMorphology)

#undef PXL_MORPHOLOGY_OPERATOR

}  // namespace pxl::morphology
