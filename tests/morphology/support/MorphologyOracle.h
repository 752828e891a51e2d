#pragma once

#include <limits>
#include <vector>

#include "oracle/Oracle.h"

/** Elementary dilations and erosions with plain loops, in the order in which the operators fold. */
namespace oracle {

enum class Operation { cDilation, cErosion };

/** Of two voxels the larger (smaller); the second where they are equal or either is NaN, as the processor does it. */
template <class T>
T fold(Operation operation, T a, T b) {
  if (operation == Operation::cDilation) return a > b ? a : b;
  return a < b ? a : b;
}

/** Voxels beyond the edge have the finite value that never wins. */
template <class T>
T getNeutral(Operation operation) {
  return operation == Operation::cDilation ? std::numeric_limits<T>::lowest() : std::numeric_limits<T>::max();
}

template <class T>
T neighbourOf(Image<T> const& image, Operation operation, Five const& p, long cols, long rows) {
  return fixedAt(image, {p[0] + cols, p[1] + rows, p[2], p[3], p[4]}, getNeutral<T>(operation));
}

/** Five voxels of a plan: above, left, centre, right, below. */
template <class T>
Image<T> applyCross(Image<T> const& image, Operation operation) {
  Image<T> result(image.sizes);
  forEachPosition(image.sizes, [&](Five const& p) {
    auto const at = [&](long cols, long rows) { return neighbourOf(image, operation, p, cols, rows); };
    T value = fold(operation, at(0, -1), at(-1, 0));
    value = fold(operation, value, at(0, 0));
    value = fold(operation, value, at(1, 0));
    result.at(p) = fold(operation, value, at(0, 1));
  });
  return result;
}

/** Nine voxels of a plan: each row by itself, then the rows. */
template <class T>
Image<T> applySquare(Image<T> const& image, Operation operation) {
  Image<T> result(image.sizes);
  forEachPosition(image.sizes, [&](Five const& p) {
    auto const row = [&](long rows) {
      auto const at = [&](long cols) { return neighbourOf(image, operation, p, cols, rows); };
      return fold(operation, fold(operation, at(-1), at(0)), at(1));
    };
    result.at(p) = fold(operation, fold(operation, row(-1), row(0)), row(1));
  });
  return result;
}

/** Any offsets (columns, rows), in their order. */
template <class T>
Image<T> applyList(Image<T> const& image, Operation operation, std::vector<std::array<long, 2>> const& offsets) {
  Image<T> result(image.sizes);
  forEachPosition(image.sizes, [&](Five const& p) {
    T value = neighbourOf(image, operation, p, offsets[0][0], offsets[0][1]);
    for (unsigned long i = 1; i < offsets.size(); ++i)
      value = fold(operation, value, neighbourOf(image, operation, p, offsets[i][0], offsets[i][1]));
    result.at(p) = value;
  });
  return result;
}

/** Any offsets (columns, rows, plans), in their order. */
template <class T>
Image<T> applyVolumeList(Image<T> const& image, Operation operation,
                         std::vector<std::array<long, 3>> const& offsets) {
  Image<T> result(image.sizes);
  forEachPosition(image.sizes, [&](Five const& p) {
    auto const at = [&](std::array<long, 3> const& o) {
      return fixedAt(image, {p[0] + o[0], p[1] + o[1], p[2] + o[2], p[3], p[4]}, getNeutral<T>(operation));
    };
    T value = at(offsets[0]);
    for (unsigned long i = 1; i < offsets.size(); ++i) value = fold(operation, value, at(offsets[i]));
    result.at(p) = value;
  });
  return result;
}

/** The voxels of the cube with at most `maxSteps` coordinates that differ, plan by plan, row by row. */
inline std::vector<std::array<long, 3>> getCubeOffsets(int maxSteps) {
  std::vector<std::array<long, 3>> offsets;
  for (long plan = -1; plan <= 1; ++plan)
    for (long row = -1; row <= 1; ++row)
      for (long col = -1; col <= 1; ++col)
        if ((plan != 0) + (row != 0) + (col != 0) <= maxSteps) offsets.push_back({col, row, plan});
  return offsets;
}

/** 27 voxels: for each of three rows the nine of its plans and columns, then the rows. */
template <class T>
Image<T> applyCube(Image<T> const& image, Operation operation) {
  Image<T> result(image.sizes);
  forEachPosition(image.sizes, [&](Five const& p) {
    T ofRows[3];
    for (long row = -1; row <= 1; ++row) {
      bool isFirst = true;
      for (long plan = -1; plan <= 1; ++plan)
        for (long col = -1; col <= 1; ++col) {
          T const value = fixedAt(image, {p[0] + col, p[1] + row, p[2] + plan, p[3], p[4]}, getNeutral<T>(operation));
          ofRows[row + 1] = isFirst ? value : fold(operation, ofRows[row + 1], value);
          isFirst = false;
        }
    }
    result.at(p) = fold(operation, fold(operation, ofRows[0], ofRows[1]), ofRows[2]);
  });
  return result;
}

/** `neighborhood` 0 is the cross, anything else the square. */
template <class T>
Image<T> applyTimes(Image<T> image, Operation operation, int neighborhood, unsigned int count) {
  for (unsigned int i = 0; i < count; ++i)
    image = neighborhood == 0 ? applyCross(image, operation) : applySquare(image, operation);
  return image;
}

/** `neighborhood` 0 has the six faces, 1 faces and edges, anything else is the cube. */
template <class T>
Image<T> applyVolumeTimes(Image<T> image, Operation operation, int neighborhood, unsigned int count) {
  for (unsigned int i = 0; i < count; ++i)
    if (neighborhood == 0 || neighborhood == 1)
      image = applyVolumeList(image, operation, getCubeOffsets(neighborhood + 1));
    else
      image = applyCube(image, operation);
  return image;
}

}  // namespace oracle
