#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <vector>

/** Structuring elements from their definitions, in long double. A shape in a plan is one with plan 0. */
namespace oracle {

/** Column, row, plan. */
using Offset = std::array<long, 3>;
using OffsetList = std::vector<Offset>;

/** Directions and rounding of digital lines and planes. */
struct Direction {
  /** Angles in degrees; exact at multiples of 90. */
  Direction(double elevation, double azimuth) {
    long double const flat = sine(elevation + 90.0L);
    components = {flat * sine(azimuth + 90.0L), -flat * sine(azimuth), sine(elevation)};
  }

  /** The axis of the largest component, of those alike the first one in `preference`. */
  int getAxis(std::array<int, 3> const& preference) const {
    long double largest = 0;
    for (long double component : components) largest = std::max(largest, std::abs(component));
    for (int axis : preference)
      if (largest - std::abs(at(axis)) < 1e-9L) return axis;
    return -1;
  }

  long double at(int axis) const { return components[static_cast<unsigned long>(axis)]; }

  /** To the nearest integer, what is as good as a half away from zero. */
  static long round(long double value) {
    long const size = static_cast<long>(std::floor(std::abs(value) + 0.5L + 1e-9L));
    return value < 0 ? -size : size;
  }

  std::array<long double, 3> components;

 private:
  static long double sine(long double degrees) {
    long double const turned = std::fmod(degrees, 360.0L);
    if (std::fmod(turned, 180.0L) == 0) return 0;
    if (turned == 90 || turned == -270) return 1;
    if (turned == 270 || turned == -90) return -1;
    return std::sin(turned * std::acos(-1.0L) / 180);
  }
};

/** Voxels from the near to the far end. */
inline OffsetList makeLine(double elevation, double azimuth, long size, bool isCentred = true) {
  Direction const direction(elevation, azimuth);
  int const axis = direction.getAxis({0, 1, 2});
  long const count = std::max(size, 1L);
  long const first = isCentred ? -((count - 1) / 2) : 0;
  OffsetList line;
  for (long k = first; k < first + count; ++k) {
    Offset offset{};
    for (int d = 0; d < 3; ++d)
      offset[static_cast<unsigned long>(d)] =
          Direction::round(static_cast<long double>(k) * direction.at(d) / std::abs(direction.at(axis)));
    line.push_back(offset);
  }
  return line;
}

/** The offsets of a box for which isInside(offset), plan by plan and row by row. */
template <class IsInside>
OffsetList selectInBox(long cols, long rows, long plans, IsInside const& isInside) {
  OffsetList list;
  for (long plan = -plans; plan <= plans; ++plan)
    for (long row = -rows; row <= rows; ++row)
      for (long col = -cols; col <= cols; ++col)
        if (isInside(Offset{col, row, plan})) list.push_back({col, row, plan});
  return list;
}

inline bool isWithin(Offset const& o, long radius) {
  return o[0] * o[0] + o[1] * o[1] + o[2] * o[2] <= radius * radius;
}

inline OffsetList makeBall(long radius) {
  return selectInBox(radius, radius, radius, [radius](Offset const& o) { return isWithin(o, radius); });
}

inline OffsetList makeDisk(long radius) {
  return selectInBox(radius, radius, 0, [radius](Offset const& o) { return isWithin(o, radius); });
}

/** The voxels of the ball that are nearest to the plane, along the axis of the normal's largest component. */
inline OffsetList makeFlatDisk(double elevation, double azimuth, long radius) {
  Direction const normal(elevation, azimuth);
  int const axis = normal.getAxis({2, 1, 0});
  return selectInBox(radius, radius, radius, [&](Offset const& o) {
    if (!isWithin(o, radius)) return false;
    long double height = 0;
    for (int d = 0; d < 3; ++d)
      if (d != axis) height -= normal.at(d) * static_cast<long double>(o[static_cast<unsigned long>(d)]);
    return o[static_cast<unsigned long>(axis)] == Direction::round(height / normal.at(axis));
  });
}

/** How far a list reaches along any axis. */
inline long getReach(OffsetList const& list) {
  long reach = 0;
  for (Offset const& offset : list)
    for (long component : offset) reach = std::max(reach, std::abs(component));
  return reach;
}

/** `element` added to itself `count` times: the Minkowski sum, with `list`. */
inline OffsetList addTimes(OffsetList list, OffsetList const& element, long count) {
  for (long i = 0; i < count; ++i) {
    long const reach = getReach(list) + getReach(element);
    long const side = 2 * reach + 1;
    auto const distance = [side](long const* o) { return (o[2] * side + o[1]) * side + o[0]; };
    std::vector<char> sum(static_cast<unsigned long>(side * side * side));
    char* const middle = sum.data() + sum.size() / 2;
    for (Offset const& b : element) {
      char* const shifted = middle + distance(b.data());
      for (Offset const& a : list) shifted[distance(a.data())] = 1;
    }
    list = selectInBox(reach, reach, reach, [&](Offset const& o) { return middle[distance(o.data())] != 0; });
  }
  return list;
}

/** The voxels of the cube, or of its middle plan, with at most `maxSteps` coordinates that differ. */
inline OffsetList makeElementary(int maxSteps, long plans = 1) {
  return selectInBox(1, 1, plans,
                     [maxSteps](Offset const& o) { return (o[0] != 0) + (o[1] != 0) + (o[2] != 0) <= maxSteps; });
}

/** Squares for half of the radius, rounded down, and crosses for the rest. */
inline OffsetList makeOctagon(long radius) {
  OffsetList const squares = addTimes({{0, 0, 0}}, makeElementary(2, 0), radius / 2);
  return addTimes(squares, makeElementary(1, 0), radius - radius / 2);
}

/** How often the elements with 6, 18 and 26 neighbours make up a polyhedron. */
inline std::array<long, 3> countBallSteps(long radius) {
  return {6 * radius / 10, 3 * radius / 10, radius - 6 * radius / 10 - 3 * radius / 10};
}

inline OffsetList makePolyhedron(long radius) {
  OffsetList list{{0, 0, 0}};
  for (int i = 0; i < 3; ++i)
    list = addTimes(list, makeElementary(i + 1), countBallSteps(radius)[static_cast<unsigned long>(i)]);
  return list;
}

}  // namespace oracle
