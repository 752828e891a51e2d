#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "ElementLimits.h"
#include "Raise.h"
#include "StructuringElementData.h"

// The voxels of the elements without a generator.

namespace pxl::kernel {
namespace {

constexpr double cPi = 3.14159265358979323846;

/** Calls visit(plan, row, halfWidth) for the rows of an element that is symmetric in each axis. */
template <class FindHalfWidth, class Visit>
void forEachRow(long maxPlan, long maxRow, FindHalfWidth const& findHalfWidth, Visit const& visit) {
  for (long plan = -maxPlan; plan <= maxPlan; ++plan)
    for (long row = -maxRow; row <= maxRow; ++row)
      if (long const half = findHalfWidth(std::labs(plan), std::labs(row)); half >= 0) visit(plan, row, half);
}

/** `findHalfWidth(plan, row)` is negative where there is no voxel. */
template <class FindHalfWidth>
std::vector<Offset3D> collectRows(long maxPlan, long maxRow, FindHalfWidth const& findHalfWidth) {
  unsigned long count = 0;
  forEachRow(maxPlan, maxRow, findHalfWidth,
             [&count](long, long, long half) { count += static_cast<unsigned long>(2 * half + 1); });
  checkNbVoxels(count);
  std::vector<Offset3D> offsets;
  offsets.reserve(count);
  forEachRow(maxPlan, maxRow, findHalfWidth, [&offsets](long plan, long row, long half) {
    for (long col = -half; col <= half; ++col) offsets.push_back({col, row, plan});
  });
  return offsets;
}

}  // namespace

ElementPasses countPasses(int dimension, unsigned int nbNeighbours, unsigned int size) {
  switch (nbNeighbours) {
    case 0:
      break;
    case 4:
    case 6:
      return {size, 0, 0};
    case 18:
      return {0, size, 0};
    default:
      return {0, 0, size};
  }
  if (dimension == 2) return {size - (size >> 1), 0, size >> 1};
  unsigned int const nbFaces = static_cast<unsigned int>(0.6 * size);
  unsigned int const nbEdges = static_cast<unsigned int>(size * 0.3);
  return {nbFaces, nbEdges, size - (nbFaces + nbEdges)};
}

std::vector<Offset3D> collectPasses(int dimension, ElementPasses const& passes) {
  double const reach = static_cast<double>(passes.nbFaces + passes.nbEdges + passes.nbCorners);
  constexpr double cMaxCountedReach = 100;  // in a volume the smallest of these shapes is too large from 91 on
  if (dimension == 2) checkRadius(reach, 2 * reach * reach);
  if (dimension == 3 && reach > cMaxCountedReach) refuseElement(4 * reach * reach * reach / 3);
  long const f = static_cast<long>(passes.nbFaces), e = static_cast<long>(passes.nbEdges),
             c = static_cast<long>(passes.nbCorners), r = f + e + c;
  // A pass reduces distances by 1: of all axes with all neighbours, of two up to an edge, of one up to a face.
  auto const isWithin = [f, e, c](long plan, long row, long col) {
    long const distances[] = {std::max(plan - c, 0L), std::max(row - c, 0L), std::max(col - c, 0L)};
    long sum = 0, sumOfEdges = 0;
    for (long distance : distances) {
      sum += distance;
      sumOfEdges += std::min(distance, e);
    }
    return sum - std::min(sumOfEdges, 2 * e) <= f;
  };
  return collectRows(dimension == 2 ? 0 : r, r, [&isWithin, r](long plan, long row) {
    long half = r;
    while (half >= 0 && !isWithin(plan, row, half)) --half;
    return half;
  });
}

std::vector<Offset3D> collectEllipsoid(double radius, std::vector<double> const& spacing) {
  if (!(radius >= 0) || !std::isfinite(radius)) PXL_RAISE(InvalidCall, "a radius must be finite and not negative");
  double nbVoxels = spacing.size() == 2 ? cPi : 4 * cPi / 3;
  for (double step : spacing) {
    if (!(step > 0) || !std::isfinite(step)) PXL_RAISE(InvalidCall, "a spacing must be finite and above 0");
    nbVoxels *= std::max(radius / step, 0.5);
  }
  if (radius == 0) return {{0, 0, 0}};
  // Beyond either bound rows needn't be counted.
  constexpr double cMaxReach = 1e6, cMaxNbRows = 2e6;
  double steps[3] = {0, 0, 0}, reach[3] = {0, 0, 0};  // in array order; steps are relative to the radius
  for (std::size_t i = 0; i < spacing.size(); ++i) {
    std::size_t const axis = 3 - spacing.size() + i;
    steps[axis] = spacing[i] / radius;
    reach[axis] = std::floor((1 + 1e-9) / steps[axis]);
    if (!(reach[axis] <= cMaxReach)) refuseElement(std::max(nbVoxels, 2 * reach[axis]));
  }
  if ((2 * reach[0] + 1) * (2 * reach[1] + 1) > cMaxNbRows) refuseElement(nbVoxels);
  auto const squareOf = [&steps](std::size_t axis, long offset) {
    double const distance = static_cast<double>(offset) * steps[axis];
    return distance * distance;
  };
  auto const isWithin = [](double square) { return square <= 1 + 1e-9; };
  return collectRows(static_cast<long>(reach[0]), static_cast<long>(reach[1]), [&](long plan, long row) {
    double const ofRow = squareOf(0, plan) + squareOf(1, row);
    if (!isWithin(ofRow)) return -1L;
    long half = static_cast<long>(std::sqrt(std::max(0.0, 1 - ofRow)) / steps[2]) + 1;
    while (!isWithin(ofRow + squareOf(2, half))) --half;
    return half;
  });
}

}  // namespace pxl::kernel
