#pragma once

#include "wide/Plans2d.h"

/** The programs of the iterated and fast elements in volumes. */
namespace pxl::wide {

/** The stages of `nbFaces` passes with 6 neighbours, then `nbEdges` with 18, then `nbCubes` with 26. */
Stages makePolyhedron(PlanImage const& image, unsigned int nbFaces, unsigned int nbEdges, unsigned int nbCubes);

}  // namespace pxl::wide
