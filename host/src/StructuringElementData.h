#pragma once

#include <utility>
#include <vector>

#include "pxl/kernel/StructuringElement.h"

namespace pxl::kernel {

/** What a structuring element is. */
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
  std::vector<Offset3D> offsets;  ///< of all but those in passes
};

/** How a shape in passes is made: the passes by the neighbours they have, up to a face, an edge, a corner. */
struct ElementPasses {
  unsigned long nbFaces = 0;
  unsigned long nbEdges = 0;
  unsigned long nbCorners = 0;
};

/** Those of a connectivity or a fast shape of dimension 2 or 3; with `nbNeighbours` 0 the shape is round. */
ElementPasses countPasses(int dimension, unsigned int nbNeighbours, unsigned int size);

/** What passes reach, in the order plan, row, column. @throws InvalidCall more than 10^6 voxels */
std::vector<Offset3D> collectPasses(int dimension, ElementPasses const& passes);

/** Offsets of an ellipsoid, or of an ellipse with a spacing of two. @throws InvalidCall as StructuringElement */
std::vector<Offset3D> collectEllipsoid(double radius, std::vector<double> const& spacing);

}  // namespace pxl::kernel
