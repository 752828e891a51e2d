#pragma once

#include "morphology/Passes3d.h"
#include "pxl/algorithms/AbstractPrivateImplementation.h"

namespace pxl::morphology::details {

/** The numbers of passes of a polyhedron, for each neighbourhood. */
struct PolyhedronPasses {
  explicit PolyhedronPasses(unsigned int radius)
      : nbFaces(static_cast<unsigned int>(0.6 * radius)),
        nbEdges(static_cast<unsigned int>(radius * 0.3)),
        nbCubes(radius - (nbFaces + nbEdges)) {}

  unsigned int nbFaces;  ///< with the six neighbours across a face
  unsigned int nbEdges;  ///< with the 18 neighbours across a face or an edge
  unsigned int nbCubes;  ///< with all 26 neighbours: the remaining passes
};

/**
 * Dilation or erosion of a volume with a polyhedron, in `radius` passes: six tenths of them with the six neighbours
 * across a face, three tenths with 18 neighbours, the rest with all 26, in this order. It reaches `radius` voxels
 * along the axes. With radius 0 the output is left unchanged. See Soille, Morphological Image Analysis, 2003, on the
 * decomposition of structuring elements.
 */
template <class Functor, class Arch, class T>
void FastMorphoBall3DSimd(BaseAlgorithm* algorithm, ImageModel const* input, unsigned int radius,
                          ImageModel* output) {
  auto const [nbFaces, nbEdges, nbCubes] = PolyhedronPasses(radius);
  algorithms::AbstractPrivateImplementation parent(algorithm);
  parent.setNumberOfSteps(1UL + (nbFaces != 0) + (nbEdges != 0));
  if (nbFaces != 0) {
    FacesKernel<Functor> faces;
    runStage<Filter3dTag, Arch, Functor, T>(parent, faces, input, output, nbFaces);
  }
  if (nbEdges != 0) {
    EdgesKernel<Functor> edges;
    runStage<Filter3dTag, Arch, Functor, T>(parent, edges, nbFaces != 0 ? output : input, output, nbEdges);
  }
  Neighborhood26PlansReductionSimd<Functor, T, Arch> cube;
  runStage<Filter3dTag, Arch, Functor, T>(parent, cube, nbFaces > 0 || nbEdges > 0 ? output : input, output, nbCubes);
}

}  // namespace pxl::morphology::details
