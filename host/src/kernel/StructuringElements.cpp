#include "pxl/kernel/StructuringElements.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "ElementLimits.h"
#include "Raise.h"
#include "kernel/RoundElements.h"

namespace pxl::kernel {
namespace {

constexpr double cPi = 3.14159265358979323846;
// Tolerance for the rounding errors of sines and cosines.
constexpr double cTolerance = 1e-9;

/** The largest whole number whose square is at most `square`. */
long rootOf(long square) {
  long root = static_cast<long>(std::sqrt(static_cast<double>(square)));
  while (root * root > square) --root;
  while ((root + 1) * (root + 1) <= square) ++root;
  return root;
}

/** Calls function(plan, row, halfWidth) for each row of a ball, or of its middle plan. */
template <class Function>
void forEachRowOfBall(long radius, long maxPlan, Function const& function) {
  for (long plan = -maxPlan; plan <= maxPlan; ++plan) {
    long const planSquare = radius * radius - plan * plan;
    long const maxRow = rootOf(planSquare);
    for (long row = -maxRow; row <= maxRow; ++row) function(plan, row, rootOf(planSquare - row * row));
  }
}

/** The voxels of a ball, or of its middle plan; `make` makes an offset of column, row and plan. */
template <class Offset, class Make>
std::vector<Offset> collectBall(long radius, long maxPlan, Make const& make) {
  unsigned long count = 0;
  forEachRowOfBall(radius, maxPlan,
                   [&count](long, long, long halfWidth) { count += static_cast<unsigned long>(2 * halfWidth + 1); });
  checkNbVoxels(count);
  std::vector<Offset> offsets;
  offsets.reserve(count);
  forEachRowOfBall(radius, maxPlan, [&](long plan, long row, long halfWidth) {
    for (long col = -halfWidth; col <= halfWidth; ++col) offsets.push_back(make(col, row, plan));
  });
  return offsets;
}

/** In the order column, row, plan. */
using Direction = std::array<double, 3>;
enum Axes : std::size_t { cCol, cRow, cPlan };

void checkAngle(double angle) {
  if (!std::isfinite(angle)) PXL_RAISE(InvalidCall, "an angle of a structuring element isn't finite");
}

double sinOfDegrees(double angle) {
  double const turn = std::fmod(angle, 360);
  if (std::fmod(turn, 180) == 0) return 0;
  if (std::fmod(turn, 90) == 0) return turn == 90 || turn == -270 ? 1 : -1;
  return std::sin(turn * (cPi / 180));
}

double cosOfDegrees(double angle) { return sinOfDegrees(90 - std::fabs(std::fmod(angle, 360))); }

Direction directionOf(double elevation, double azimuth) {
  checkAngle(elevation);
  checkAngle(azimuth);
  double const inPlan = cosOfDegrees(elevation);
  return {inPlan * cosOfDegrees(azimuth), -inPlan * sinOfDegrees(azimuth), sinOfDegrees(elevation)};
}

/** The axis with the largest component, the earliest in `order` on ties. */
Axes dominantAxis(Direction const& direction, std::array<Axes, 3> const& order) {
  Axes dominant = order[0];
  for (Axes axis : order)
    if (std::fabs(direction[axis]) >= std::fabs(direction[dominant]) + cTolerance) dominant = axis;
  return dominant;
}

/** The nearest whole number, halves away from zero. */
long roundHalfAway(double value) {
  double const magnitude = std::floor(std::fabs(value) + 0.5 + cTolerance);
  return static_cast<long>(value < 0 ? -magnitude : magnitude);
}

template <class Offset, class Make>
std::vector<Offset> collectLine(Direction const& direction, unsigned long lineSize, bool isCentred,
                                Make const& make) {
  checkNbVoxels(lineSize);
  long const nbVoxels = static_cast<long>(std::max(lineSize, 1UL));
  long const first = isCentred ? -((nbVoxels - 1) / 2) : 0;
  double const dominant = std::fabs(direction[dominantAxis(direction, {cCol, cRow, cPlan})]);
  std::vector<Offset> offsets;
  offsets.reserve(static_cast<unsigned long>(nbVoxels));
  for (long step = first; step < first + nbVoxels; ++step) {
    auto const along = [&](Axes axis) {
      return roundHalfAway(static_cast<double>(step) * direction[axis] / dominant);
    };
    offsets.push_back(make(along(cCol), along(cRow), along(cPlan)));
  }
  return offsets;
}

Offset2D makeOffset2D(long col, long row, long) { return {col, row}; }
Offset3D makeOffset3D(long col, long row, long plan) { return {col, row, plan}; }

/** The axis across which a disk with this normal is seen with the largest area. */
Axes dominantAxisOfDisk(Direction const& normal) { return dominantAxis(normal, {cPlan, cRow, cCol}); }

}  // namespace

double estimateDisk(double radius) { return cPi * radius * radius; }

double estimateBall(double radius) { return 4 * cPi / 3 * radius * radius * radius; }

// Seen along the dominant axis the disk is an ellipse, and it has one voxel for each of the ellipse.
double estimateOrientedDisk(double elevation, double azimuth, double radius) {
  Direction const normal = directionOf(elevation, azimuth);
  return cPi * radius * radius * std::fabs(normal[dominantAxisOfDisk(normal)]);
}

std::vector<Offset2D> generateDiskOffset2DCollection(unsigned long radius) {
  double const r = static_cast<double>(radius);
  checkRadius(r, estimateDisk(r));
  return collectBall<Offset2D>(static_cast<long>(radius), 0, makeOffset2D);
}

std::vector<Offset3D> generateSphereOffset3DCollection(unsigned long radius) {
  double const r = static_cast<double>(radius);
  checkRadius(r, estimateBall(r));
  return collectBall<Offset3D>(static_cast<long>(radius), static_cast<long>(radius), makeOffset3D);
}

std::vector<Offset2D> generateLineOffset2DCollectionWithConstNumOfPixels(double angle, unsigned long lineSize,
                                                                         bool isCentred) {
  return collectLine<Offset2D>(directionOf(0, angle), lineSize, isCentred, makeOffset2D);
}

std::vector<Offset3D> generateLineOffset3DCollectionWithConstNumOfPixels(double elevation, double azimuth,
                                                                         unsigned long lineSize, bool isCentred) {
  return collectLine<Offset3D>(directionOf(elevation, azimuth), lineSize, isCentred, makeOffset3D);
}

std::vector<Offset3D> generateDiskOffset3DCollection(double elevation, double azimuth, unsigned long radius) {
  double const r = static_cast<double>(radius);
  checkRadius(r, estimateOrientedDisk(elevation, azimuth, r));
  Direction const normal = directionOf(elevation, azimuth);
  Axes const w = dominantAxisOfDisk(normal);
  Axes const u = w == cCol ? cRow : cCol;
  Axes const v = w == cPlan ? cRow : cPlan;
  long const reach = static_cast<long>(radius);
  auto const forEachVoxel = [&](auto const& function) {
    for (long i = -reach; i <= reach; ++i) {
      for (long j = -reach; j <= reach; ++j) {
        long at[3];
        at[u] = i;
        at[v] = j;
        at[w] = roundHalfAway(-(normal[u] * static_cast<double>(i) + normal[v] * static_cast<double>(j)) / normal[w]);
        if (i * i + j * j + at[w] * at[w] <= reach * reach) function(Offset3D{at[cCol], at[cRow], at[cPlan]});
      }
    }
  };
  unsigned long count = 0;
  forEachVoxel([&count](Offset3D const&) { ++count; });
  checkNbVoxels(count);
  std::vector<Offset3D> offsets;
  offsets.reserve(count);
  forEachVoxel([&offsets](Offset3D const& offset) { offsets.push_back(offset); });
  std::sort(offsets.begin(), offsets.end(), [](Offset3D const& a, Offset3D const& b) {
    return std::array{a.plan, a.row, a.col} < std::array{b.plan, b.row, b.col};
  });
  return offsets;
}

}  // namespace pxl::kernel
