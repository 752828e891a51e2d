#include "wide/Plans3d.h"

#include <algorithm>

#include "wide/Windows.h"

namespace pxl::wide {
namespace {

// Passes that one program streams: each adds a voxel to the margins of a tile, and four planes to its memory.
constexpr unsigned int cMaxNbPasses = 10;

int addFaces(FoldProgram& program, int node) {
  return program.add({{node, 0, 0, -1},
                      {node, 0, -1, 0},
                      {node, -1, 0, 0},
                      {node, 0, 0, 0},
                      {node, 1, 0, 0},
                      {node, 0, 1, 0},
                      {node, 0, 0, 1}},
                     true);
}

// As the other runner takes them.
int addOrderedEdges(FoldProgram& program, int node) {
  std::vector<Tap> taps;
  for (long dz = -1; dz <= 1; ++dz)
    for (long dy = -1; dy <= 1; ++dy)
      for (long dx = -1; dx <= 1; ++dx)
        if (dx == 0 || dy == 0 || dz == 0) taps.push_back({node, dx, dy, dz});
  return program.add(std::move(taps), true);
}

int addRow(FoldProgram& program, int node) {
  return program.add({{node, -1, 0, 0}, {node, 0, 0, 0}, {node, 1, 0, 0}}, true);
}

int addEdges(FoldProgram& program, int node) {
  int const row = addRow(program, node);
  int const cross = program.add({{row, 0, 0, 0}, {node, 0, -1, 0}, {node, 0, 1, 0}}, true);
  return program.add({{row, 0, -1, 0}, {row, 0, 0, 0}, {row, 0, 1, 0}, {cross, 0, 0, -1}, {cross, 0, 0, 1}}, true);
}

int addOrderedCube(FoldProgram& program, int node) {
  std::vector<Tap> taps;
  for (long dz = -1; dz <= 1; ++dz)
    for (long dx = -1; dx <= 1; ++dx) taps.push_back({node, dx, 0, dz});
  int const rows = program.add(std::move(taps), true);
  return program.add({{rows, 0, -1, 0}, {rows, 0, 0, 0}, {rows, 0, 1, 0}}, true);
}

void addBox(FoldProgram& program, int node, long reach) {
  long const length = 2 * reach + 1;
  int const plans = addWindow(program, node, length, {0, 0, 1}, Dimensions::cVolume);
  program.shift(plans, 0, 0, -reach);
  int const rows = addWindow(program, plans, length, {0, 1, 0}, Dimensions::cVolume);
  program.shift(rows, 0, -reach, 0);
  program.shift(addWindow(program, rows, length, {1, 0, 0}, Dimensions::cVolume), -reach, 0);
}

ElementPrograms makePrograms(PlanImage const& image, unsigned int nbFaces, unsigned int nbEdges, unsigned int nbCubes,
                             long box) {
  ElementPrograms programs{true, FoldProgram(image.limits), FoldProgram()};
  FoldProgram& fast = programs.fast;
  int node = nbFaces + nbEdges > 0 ? fast.addCopy() : 0;
  for (unsigned int i = 0; i < nbFaces; ++i) node = addFaces(fast, node);
  for (unsigned int i = 0; i < nbEdges; ++i) node = addEdges(fast, node);
  if (box > 0) addBox(fast, node, box);
  fast.isOrdered = nbEdges + nbCubes == 0;
  fast.finish();
  if (!image.isReal() || fast.isOrdered) return programs;
  FoldProgram& ordered = programs.ordered;
  node = ordered.addCopy();
  for (unsigned int i = 0; i < nbFaces; ++i) node = addFaces(ordered, node);
  for (unsigned int i = 0; i < nbEdges; ++i) node = addOrderedEdges(ordered, node);
  for (unsigned int i = 0; i < nbCubes; ++i) node = addOrderedCube(ordered, node);
  ordered.isOrdered = true;
  ordered.finish();
  // A single cube in its order is faster than what has to look for values whose order matters.
  if (nbFaces + nbEdges == 0 && nbCubes == 1) fast = ordered;
  return programs;
}

}  // namespace

Stages makePolyhedron(PlanImage const& image, unsigned int nbFaces, unsigned int nbEdges, unsigned int nbCubes) {
  long const nbCols = image.sizes[0], nbRows = image.sizes[1], nbPlans = image.sizes[2];
  long const longest = std::max({nbCols, nbRows, nbPlans});
  Stages stages;
  if (!image.isReal()) {
    // From everywhere more passes reach what these reach.
    auto const maxPasses = static_cast<unsigned int>(std::max(nbCols + nbRows + nbPlans - 3, 1L));
    nbFaces = std::min(nbFaces, maxPasses);
    nbEdges = std::min(nbEdges, maxPasses);
    nbCubes = std::min(nbCubes, static_cast<unsigned int>(std::max(longest - 1, 1L)));
  }
  auto const boxOf = [longest](unsigned int nb) { return std::min<long>(nb, std::max(longest - 1, 1L)); };
  if (nbFaces + nbEdges + nbCubes <= cMaxNbPasses) {
    stages.push_back({makePrograms(image, nbFaces, nbEdges, nbCubes, boxOf(nbCubes)), 1});
    return stages;
  }
  addParts(stages, nbFaces, cMaxNbPasses, [&](unsigned int nb) { return makePrograms(image, nb, 0, 0, 0); });
  addParts(stages, nbEdges, cMaxNbPasses, [&](unsigned int nb) { return makePrograms(image, 0, nb, 0, 0); });
  unsigned int const maxCubes = image.isReal() ? cMaxNbOrderedPasses : nbCubes;
  addParts(stages, nbCubes, maxCubes, [&](unsigned int nb) { return makePrograms(image, 0, 0, nb, boxOf(nb)); });
  return stages;
}

}  // namespace pxl::wide
