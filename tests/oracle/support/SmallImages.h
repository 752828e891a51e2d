#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "oracle/Oracle.h"
#include "oracle/Shapes.h"

/** Images and shapes small enough to be typed in. */
namespace oracle {

/** Voxels with columns fastest. */
template <class T>
Image<T> makeImage(Five const& sizes, std::vector<T> const& voxels) {
  Image<T> image(sizes);
  EXPECT_EQ(image.voxels.size(), voxels.size()) << "the typed voxels are not those of the sizes";
  image.voxels = voxels;
  return image;
}

template <class T>
Image<T> makeRow(std::vector<T> const& voxels) {
  return makeImage<T>({static_cast<long>(voxels.size()), 1, 1, 1, 1}, voxels);
}

/** One voxel in each plan. */
template <class T>
Image<T> makePlans(std::vector<T> const& voxels) {
  return makeImage<T>({1, 1, static_cast<long>(voxels.size()), 1, 1}, voxels);
}

/** A plan of a shape, from -radius to radius, as text: rows separated by spaces, '#' for its voxels. */
inline std::string draw(OffsetList const& list, long radius, long plan = 0) {
  std::string text;
  for (long row = -radius; row <= radius; ++row) {
    if (!text.empty()) text += ' ';
    for (long col = -radius; col <= radius; ++col) {
      long const count = std::count(list.begin(), list.end(), Offset{col, row, plan});
      text += count == 0 ? '.' : count == 1 ? '#' : '!';
    }
  }
  return text;
}

}  // namespace oracle
