#include "wide/Plans2d.h"

#include <algorithm>

#include "wide/Windows.h"

namespace pxl::wide {
namespace {

// Square of 2 N + 1: columns first, which need no margins of the image.
int addBox(FoldProgram& program, long reach) {
  int const rows = addImageRows(program, 2 * reach + 1, -reach);
  int const box = addWindow(program, rows, 2 * reach + 1, {1, 0, 0}, Dimensions::cPlane);
  program.shift(box, -reach, 0);
  return box;
}

// |dx| + |dy| <= N: a cross on all voxels with |dx| + |dy| <= N - 1 of the parity of N - 1, which are the sum of two
// diagonal segments.
void addDiamond(FoldProgram& program, int node, long reach) {
  int const falling = addWindow(program, node, reach, {1, 1, 0}, Dimensions::cPlane);
  int const both = addWindow(program, falling, reach, {-1, 1, 0}, Dimensions::cPlane);
  long const y = 1 - reach;
  program.add({{both, 0, y - 1, 0}, {both, -1, y, 0}, {both, 0, y, 0}, {both, 1, y, 0}, {both, 0, y + 1, 0}});
}

// The passes of the other runner, each in its order; for reals, which are read without a copy.
FoldProgram makePasses(unsigned int nbSquares, unsigned int nbCrosses) {
  FoldProgram program;
  int node = 0;
  for (unsigned int i = 0; i < nbSquares; ++i) {
    int const row = program.add({{node, -1, 0, 0}, {node, 0, 0, 0}, {node, 1, 0, 0}}, true);
    node = program.add({{row, 0, -1, 0}, {row, 0, 0, 0}, {row, 0, 1, 0}}, true);
  }
  for (unsigned int i = 0; i < nbCrosses; ++i)
    node = program.add({{node, 0, -1, 0}, {node, -1, 0, 0}, {node, 0, 0, 0}, {node, 1, 0, 0}, {node, 0, 1, 0}}, true);
  program.isOrdered = true;
  program.finish();
  return program;
}

ElementPrograms makePrograms(PlanImage const& image, unsigned int nbSquares, unsigned int nbCrosses) {
  ElementPrograms programs{false, FoldProgram(image.limits), FoldProgram()};
  if (image.isReal()) programs.ordered = makePasses(nbSquares, nbCrosses);
  if (image.isReal() && nbSquares + nbCrosses == 1) {
    // As fast, and nothing has to be looked for.
    programs.fast = programs.ordered;
    return programs;
  }
  // From everywhere more steps reach what these reach. One step at least reaches beyond the edge.
  long const nbCols = image.sizes[0], nbRows = image.sizes[1];
  long const box = std::min<long>(nbSquares, std::max(std::max(nbCols, nbRows) - 1, 1L));
  long const diamond = std::min<long>(nbCrosses, std::max(nbCols + nbRows - 2, 1L));
  FoldProgram& fast = programs.fast;
  bool const needsCopy = diamond > 1 || !image.isReadWithoutCopy();
  int const node = box > 0 ? addBox(fast, box) : needsCopy ? fast.addCopy() : 0;
  if (diamond > 0) addDiamond(fast, node, diamond);
  fast.finish();
  return programs;
}

}  // namespace

Stages makeOctagon(PlanImage const& image, unsigned int nbSquares, unsigned int nbCrosses) {
  Stages stages;
  if (!image.isReal() || nbSquares + nbCrosses <= cMaxNbOrderedPasses) {
    stages.push_back({makePrograms(image, nbSquares, nbCrosses), 1});
    return stages;
  }
  addParts(stages, nbSquares, cMaxNbOrderedPasses, [&](unsigned int nb) { return makePrograms(image, nb, 0); });
  addParts(stages, nbCrosses, cMaxNbOrderedPasses, [&](unsigned int nb) { return makePrograms(image, 0, nb); });
  return stages;
}

}  // namespace pxl::wide
