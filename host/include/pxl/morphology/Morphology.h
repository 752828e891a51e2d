#pragma once

#include "pxl/BaseAlgorithm.h"
#include "pxl/Property.h"

/**
 * Grey-scale dilation (largest voxel of a neighbourhood) and erosion (smallest):
 *
 *   dilation  out(p) = max { in(p + b) : b in B }
 *   erosion   out(p) = min { in(p + b) : b in B }
 *
 * The structuring element B contains the voxel itself, b = 0. kernel/StructuringElements.h makes those of the exact
 * shapes. Input and output have the same sizes and may be the same image. See Serra, Image Analysis and Mathematical
 * Morphology, 1982, and Soille, Morphological Image Analysis, 2003.
 *
 * Border: voxels beyond the edge have the lowest finite value of the type in a dilation, and the highest in an
 * erosion, so that they never win against finite voxels.
 *
 * Infinities, NaN and zeros follow the processor's maximum and minimum:
 * - An infinity loses to the finite value beyond the edge. A dilation of an image of -infinity gives the lowest
 *   finite value along the edge, and an erosion of an image of infinity gives the highest.
 * - If either of two voxels is NaN, or both are zero, the one that is taken later wins. Each operator takes its
 *   neighbours in a fixed order. So a NaN may spread or vanish, a value beyond the edge that comes after a NaN wins,
 *   and a zero has the sign of the last one.
 * - In an integer output NaN becomes 0, which is not a monotone conversion. The result of several passes on an input
 *   with NaN then depends on the extra memory: a temporary image keeps NaN between passes, the output doesn't.
 */
namespace pxl::morphology {

/**
 * The neighbourhoods in a plan, each with the voxel itself, O. Any other number means cSquare.
 *
 *   cCross  . # .   cSquare  # # #
 *           # O #            # O #
 *           . # .            # # #
 */
enum Neighborhoods2d : int { cCross = 0, cSquare = 1 };

/**
 * The neighbourhoods in a volume, each with the voxel itself, O. On the left the plan before, which equals the plan
 * after; on the right the voxel's own plan. Any other number means cCube.
 *
 *   cFaces  . . .  . # .   cEdges  . # .  # # #   cCube  # # #  # # #
 *           . # .  # O #           # # #  # O #          # # #  # O #
 *           . . .  . # .           . # .  # # #          # # #  # # #
 */
enum Neighborhoods3d : int { cFaces = 0, cEdges = 1, cCube = 2 };

/** How a disk or ball is made. Any other number means cExactShape. */
enum ShapeModes : int { cFastShape = 0, cExactShape = 1 };

inline constexpr Choice cNeighborhood2dNames[] = {{"cross", cCross, "the 4 neighbours that share an edge"},
                                                  {"square", cSquare, "all 8 neighbours, as with any other number"}};

inline constexpr Choice cNeighborhood3dNames[] = {{"faces", cFaces, "the 6 neighbours that share a face"},
                                                  {"edges", cEdges, "the 18 neighbours that share a face or an edge"},
                                                  {"cube", cCube, "all 26 neighbours, as with any other number"}};

inline constexpr Choice cShapeModeNames[] = {
    {"fast", cFastShape, "an octagon or polyhedron; with radius 0 the output is left unchanged"},
    {"exact", cExactShape, "all voxels within the radius, as with any other number"}};

/** Properties of the operators that repeat an elementary step. Cost: proportional to numberOfIterations. */
class PXL_API IteratedMorphology : public BaseAlgorithm {
 public:
  ~IteratedMorphology() override;

  Property<ImageModel const*> inputImage{*this, "inputImage", "image to read"};
  Property<unsigned int> numberOfIterations{*this, "numberOfIterations", 1,
                                            "number of repetitions of the step; with 0 the output is left unchanged"};
  /** One of Neighborhoods2d or Neighborhoods3d. */
  Property<int> neighborhood;
  Property<ImageModel*> outputImage{*this, "outputImage", "image to write"};

  String getWarning() const override;
  RegionUses getRegionUse() const override;
  kernel::Margins getMargins() const override;
  double estimateSteps() const override;
  std::vector<kernel::Offset3D> getOffsets() const override;

 protected:
  IteratedMorphology(int defaultNeighborhood, Choices const& neighborhoods);
};

/**
 * Properties of the operators with a round neighbourhood. The fast shape takes `radius` passes and always works on
 * the whole image. The exact shape takes one pass, in time proportional to the number of voxels of the element.
 */
class PXL_API RadiusMorphology : public BaseAlgorithm {
 public:
  ~RadiusMorphology() override;

  Property<ImageModel const*> inputImage{*this, "inputImage", "image to read"};
  Property<unsigned int> radius{*this, "radius", 1, "radius in voxels"};
  /** One of ShapeModes. */
  Property<int> shapeMode{*this, "shapeMode", cFastShape, cShapeModeNames, "how the shape is made"};
  Property<ImageModel*> outputImage{*this, "outputImage", "image to write"};

  String getWarning() const override;
  String validate() const override;
  RegionUses getRegionUse() const override;
  kernel::Margins getMargins() const override;
  double estimateSteps() const override;
  std::vector<kernel::Offset3D> getOffsets() const override;

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

  String validate() const override;
  RegionUses getRegionUse() const override;
  kernel::Margins getMargins() const override;
  double estimateSteps() const override;
  std::vector<kernel::Offset3D> getOffsets() const override;

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
  kernel::Margins getMargins() const override;
  double estimateSteps() const override;
  std::vector<kernel::Offset3D> getOffsets() const override;

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
  kernel::Margins getMargins() const override;
  double estimateSteps() const override;
  std::vector<kernel::Offset3D> getOffsets() const override;

 protected:
  Line3dMorphology();
};

/**
 * Largest voxel of a cross or square in each plan, repeated numberOfIterations times:
 * out(p) = max { in(p + b) : b in B }, B by `neighborhood`: 0 cCross, 1 cSquare (default).
 */
class PXL_API Dilation2d : public IteratedMorphology {
 public:
  Dilation2d();
  ~Dilation2d() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;
};

/**
 * Largest voxel of a neighbourhood in the volume, repeated numberOfIterations times:
 * out(p) = max { in(p + b) : b in B }, B by `neighborhood`: 0 cFaces, 1 cEdges, 2 cCube (default).
 */
class PXL_API Dilation3d : public IteratedMorphology {
 public:
  Dilation3d();
  ~Dilation3d() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;
};

/** Largest voxel of a ball: out(p) = max { in(p + b) : |b| <= radius }, or b in a polyhedron with cFastShape. */
class PXL_API DilationBall3d : public RadiusMorphology {
 public:
  DilationBall3d();
  ~DilationBall3d() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;
};

/**
 * Largest voxel of a disk in each plan: out(p) = max { in(p + b) : |b| <= radius }, or b in an octagon with
 * cFastShape.
 */
class PXL_API DilationDisk2d : public RadiusMorphology {
 public:
  DilationDisk2d();
  ~DilationDisk2d() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;
};

/** Largest voxel of a flat disk in the volume: out(p) = max { in(p + b) : b in a digital plane, |b| <= radius }. */
class PXL_API DilationDisk3d : public OrientedDiskMorphology {
 public:
  DilationDisk3d();
  ~DilationDisk3d() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;
};

/** Largest voxel of a line in each plan: out(p) = max { in(p + b) : b on a digital line of lineSize voxels }. */
class PXL_API DilationLine2d : public Line2dMorphology {
 public:
  DilationLine2d();
  ~DilationLine2d() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;
};

/** Largest voxel of a line in the volume: out(p) = max { in(p + b) : b on a digital line of lineSize voxels }. */
class PXL_API DilationLine3d : public Line3dMorphology {
 public:
  DilationLine3d();
  ~DilationLine3d() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;
};

/**
 * Smallest voxel of a cross or square in each plan, repeated numberOfIterations times:
 * out(p) = min { in(p + b) : b in B }, B by `neighborhood`: 0 cCross, 1 cSquare (default).
 */
class PXL_API Erosion2d : public IteratedMorphology {
 public:
  Erosion2d();
  ~Erosion2d() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;
};

/**
 * Smallest voxel of a neighbourhood in the volume, repeated numberOfIterations times:
 * out(p) = min { in(p + b) : b in B }, B by `neighborhood`: 0 cFaces, 1 cEdges, 2 cCube (default).
 */
class PXL_API Erosion3d : public IteratedMorphology {
 public:
  Erosion3d();
  ~Erosion3d() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;
};

/** Smallest voxel of a ball: out(p) = min { in(p + b) : |b| <= radius }, or b in a polyhedron with cFastShape. */
class PXL_API ErosionBall3d : public RadiusMorphology {
 public:
  ErosionBall3d();
  ~ErosionBall3d() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;
};

/**
 * Smallest voxel of a disk in each plan: out(p) = min { in(p + b) : |b| <= radius }, or b in an octagon with
 * cFastShape.
 */
class PXL_API ErosionDisk2d : public RadiusMorphology {
 public:
  ErosionDisk2d();
  ~ErosionDisk2d() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;
};

/** Smallest voxel of a flat disk in the volume: out(p) = min { in(p + b) : b in a digital plane, |b| <= radius }. */
class PXL_API ErosionDisk3d : public OrientedDiskMorphology {
 public:
  ErosionDisk3d();
  ~ErosionDisk3d() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;
};

/** Smallest voxel of a line in each plan: out(p) = min { in(p + b) : b on a digital line of lineSize voxels }. */
class PXL_API ErosionLine2d : public Line2dMorphology {
 public:
  ErosionLine2d();
  ~ErosionLine2d() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;
};

/** Smallest voxel of a line in the volume: out(p) = min { in(p + b) : b on a digital line of lineSize voxels }. */
class PXL_API ErosionLine3d : public Line3dMorphology {
 public:
  ErosionLine3d();
  ~ErosionLine3d() override;
  static AlgoInfo* getClassInfo();
  AlgoInfo* getAlgoInfo() const override;
};

}  // namespace pxl::morphology
