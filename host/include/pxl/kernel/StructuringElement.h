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
  cNone,  ///< no element
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

/** How a disk or a ball is made: all voxels within the radius, or an octagon or polyhedron in `radius` passes. */
enum class ElementModes { cExact, cFast };

/**
 * The neighbourhood of a morphological operator. Immutable; copies share it. Two-dimensional elements are applied to
 * each plan.
 *
 * Sizes, spacings and origins are in array order: plans, rows, columns; in two dimensions rows, columns. Angles are
 * in degrees, as in StructuringElements.h. An element has at most 10^6 voxels, except for those that are applied in
 * passes (connectivity and the fast shapes), which have no limit.
 *
 * All functions that make an element:
 * @throws InvalidCall there is no such element; the reason is one line
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
  /** `length` voxels; the extra voxel of an even length is on the far side. Length 0 is the voxel alone. */
  static StructuringElement line(unsigned int length, double angle);
  static StructuringElement line3d(unsigned int length, double azimuth, double elevation);
  /** A flat disk in a volume; the angles are those of its normal. */
  static StructuringElement disk3d(unsigned int radius, double azimuth, double elevation);
  /** A rectangle or a cuboid. The origin is the position of the voxel itself, and may be outside. */
  static StructuringElement box(std::vector<long> const& sizes, std::vector<long> const& origin);
  /** The same with the origin at size / 2 (integer division). */
  static StructuringElement box(std::vector<long> const& sizes);
  /** The offsets d with sum (d * spacing)^2 <= (1 + 1e-9) * radius^2. */
  static StructuringElement ellipse(double radius, std::array<double, 2> const& spacing);
  static StructuringElement ellipsoid(double radius, std::array<double, 3> const& spacing);
  /**
   * The nonzero voxels of an array in C order with two or three sizes. The origin is the position of the voxel
   * itself, and may be outside.
   */
  static StructuringElement mask(unsigned char const* array, std::vector<long> const& sizes,
                                 std::vector<long> const& origin);
  /** The same with the origin at size / 2 (integer division). */
  static StructuringElement mask(unsigned char const* array, std::vector<long> const& sizes);

  /**
   * The element that a text describes: the name of a function above with its arguments. Examples:
   *
   *   "ball(5)"  "disk(10, fast)"  "line(21, 30)"  "ellipsoid(6, 2.5, 1, 1)"
   *   "box(3, 5)"           or with its origin  "box(3, 5, 0, 2)"
   *   "mask(0 1 0; 1 1 1)"  or with its origin  "mask(1 1, 0, 1)"; rows are separated by ';', plans by '|'
   */
  static StructuringElement parse(String const& text);
  /** A text from which parse() makes an equal element; empty for no element. */
  String toString() const;

  ElementKinds getKind() const;
  /** 2 or 3; 0 for no element. */
  int getDimension() const;

  /**
   * The voxels relative to the one being computed, in the order plan, row, column; those of lines run along the line.
   * For an element that is applied in passes: the voxels that all passes reach together.
   * @throws InvalidCall there are more than 10^6
   */
  std::vector<Offset3D> getOffsets() const;
  /** How far the element reaches. */
  Margins getMargins() const;
  /** The element with the negated offsets. */
  StructuringElement getMirrored() const;

  /** The neighbours of a connectivity; 0 for the other kinds. */
  unsigned int getNbNeighbours() const;
  /** Iterations, radius or length; 0 for the kinds without one. */
  unsigned int getSize() const;
  ElementModes getMode() const;
  /** The angle of a line in a plan, or the azimuth; 0 for the other kinds. */
  double getAngle() const;
  double getElevation() const;

 private:
  struct Data;

  explicit StructuringElement(Data* data);
  static StructuringElement makeEllipsoid(ElementKinds kind, double radius, std::vector<double> const& spacing);
  Data const& getData() const;

  friend PXL_API bool operator==(StructuringElement const& a, StructuringElement const& b);
};

/** Whether two elements have the same kind and parameters; for boxes and masks, the same voxels. */
PXL_API bool operator==(StructuringElement const& a, StructuringElement const& b);
inline bool operator!=(StructuringElement const& a, StructuringElement const& b) { return !(a == b); }

}  // namespace pxl::kernel
