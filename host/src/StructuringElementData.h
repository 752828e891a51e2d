#pragma once

#include <utility>
#include <vector>

#include "pxl/kernel/StructuringElement.h"

namespace pxl::kernel {

/** The data of a structuring element. */
struct StructuringElement::Data final : RefImpl {
  Data(ElementKinds elementKind, int nbDimensions, unsigned int elementSize = 0)
      : kind(elementKind), dimension(nbDimensions), size(elementSize) {}

  ElementKinds kind;
  int dimension;
  unsigned int size;
  unsigned int nbNeighbours = 0;
  ElementModes mode = ElementModes::cExact;
  double angle = 0;
  double elevation = 0;
  double radius = 0;              ///< of ellipses
  std::vector<double> spacing;    ///< of ellipses
  std::vector<Offset3D> offsets;  ///< of all elements but those in passes
};

/** The numbers of passes of a shape: with neighbours across faces, also across edges, also across corners. */
struct ElementPasses {
  unsigned long nbFaces = 0;
  unsigned long nbEdges = 0;
  unsigned long nbCorners = 0;
};

/** The passes of a connectivity or a fast shape of dimension 2 or 3; with `nbNeighbours` 0 the shape is round. */
ElementPasses countPasses(int dimension, unsigned int nbNeighbours, unsigned int size);

/** The voxels that all passes reach, in the order plan, row, column. @throws InvalidCall more than 10^6 voxels */
std::vector<Offset3D> collectPasses(int dimension, ElementPasses const& passes);

/** Offsets of an ellipsoid, or of an ellipse with a spacing of two. @throws InvalidCall as StructuringElement */
std::vector<Offset3D> collectEllipsoid(double radius, std::vector<double> const& spacing);

}  // namespace pxl::kernel
