#pragma once

#include <array>
#include <vector>

#include "pxl/Export.h"
#include "pxl/Object.h"
#include "pxl/String.h"
#include "pxl/kernel/Margins.h"
#include "pxl/kernel/Offsets.h"

namespace pxl::kernel {

enum class ElementKinds {
  cNone,  ///< of an object that was made without an element
  cConnectivity,
  cDisk,
  cBall,
  cLine,
  cLine3d,
  cDisk3d,
  cBox,
  cEllipse,
  cEllipsoid,
  cMask
};

/** How a disk or a ball is made: within the radius, or a polygon or polyhedron in `radius` passes. */
enum class ElementModes { cExact, cFast };

/**
 * The neighbourhood of a morphological operator. A value that never changes; copies share it. Elements of two
 * dimensions are applied to each plan.
 *
 * Sizes, spacings and origins are in the order of arrays: plans, rows, columns; in two dimensions rows, columns.
 * Angles are degrees, as in StructuringElements.h. An element has at most 10^6 voxels, but for those that are applied
 * in passes (connectivity and the fast shapes), which have no limit.
 *
 * All that make an element throw InvalidCall with the reason in one line.
 */
class PXL_API StructuringElement : public Object {
 public:
  /** No element. */
  StructuringElement();
  ~StructuringElement() override;

  /** The voxel and its 4 or 8 neighbours in a plan, or 6, 18 or 26 in a volume, applied `iterations` times. */
  static StructuringElement connectivity(unsigned int nbNeighbours, unsigned int iterations = 1);
  static StructuringElement disk(unsigned int radius, ElementModes mode = ElementModes::cExact);
  static StructuringElement ball(unsigned int radius, ElementModes mode = ElementModes::cExact);
  /** `length` voxels; the spare voxel of an even length is on the far side. Length 0 is the voxel alone. */
  static StructuringElement line(unsigned int length, double angle);
  static StructuringElement line3d(unsigned int length, double azimuth, double elevation);
  /** A flat disk in a volume; the angles are those of its normal. */
  static StructuringElement disk3d(unsigned int radius, double azimuth, double elevation);
  /** A rectangle or a cuboid. The origin is the position on the voxel itself, and may lie outside. */
  static StructuringElement box(std::vector<long> const& sizes, std::vector<long> const& origin);
  /** The same with the origin at size / 2 (integer division). */
  static StructuringElement box(std::vector<long> const& sizes);
  /** The offsets d whose sum of (d * spacing)^2 is at most radius^2; what is as good as equal, by 1e-9, is in. */
  static StructuringElement ellipse(double radius, std::array<double, 2> const& spacing);
  static StructuringElement ellipsoid(double radius, std::array<double, 3> const& spacing);
  /**
   * The voxels of an array in C order that aren't 0; its two or three sizes are those of the array. The origin is the
   * position on the voxel itself, and may lie outside.
   */
  static StructuringElement mask(unsigned char const* array, std::vector<long> const& sizes,
                                 std::vector<long> const& origin);
  /** The same with the origin at size / 2 (integer division). */
  static StructuringElement mask(unsigned char const* array, std::vector<long> const& sizes);

  /**
   * The element that a text describes: the name of one of the above with its values, such as "ball(5)",
   * "disk(10, fast)", "line(21, 30)", "box(3, 5)" or with its origin "box(3, 5, 0, 2)", "ellipsoid(6, 2.5, 1, 1)",
   * "mask(0 1 0; 1 1 1)" where rows end with ';' and plans with '|', or with its origin "mask(1 1, 0, 1)".
   */
  static StructuringElement parse(String const& text);
  /** A text that parse() makes an equal element of; empty for no element. */
  String toString() const;

  ElementKinds getKind() const;
  /** 2 or 3; 0 for no element. */
  int getDimension() const;

  /**
   * The voxels relative to the one being computed, in the order plan, row, column; those of lines run along the line.
   * Of an element in passes: what all of them reach. @throws InvalidCall these are more than 10^6
   */
  std::vector<Offset3D> getOffsets() const;
  /** How far the element reaches. */
  Margins getMargins() const;
  /** The element whose offsets are the negatives of this one's. */
  StructuringElement getMirrored() const;

  /** Of a connectivity, else 0. */
  unsigned int getNbNeighbours() const;
  /** Iterations, radius or length of the kinds that have one; 0 for the others. */
  unsigned int getSize() const;
  ElementModes getMode() const;
  /** The angle of a line in a plan, or the azimuth; 0 for the others. */
  double getAngle() const;
  double getElevation() const;

 private:
  struct Data;

  explicit StructuringElement(Data* data);
  static StructuringElement makeEllipsoid(ElementKinds kind, double radius, std::vector<double> const& spacing);
  Data const& getData() const;

  friend PXL_API bool operator==(StructuringElement const& a, StructuringElement const& b);
};

/** Whether two elements are of one kind with equal parameters; of boxes and masks, whether their voxels are equal. */
PXL_API bool operator==(StructuringElement const& a, StructuringElement const& b);
inline bool operator!=(StructuringElement const& a, StructuringElement const& b) { return !(a == b); }

}  // namespace pxl::kernel
