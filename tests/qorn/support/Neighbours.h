#pragma once

#include <algorithm>
#include <vector>

namespace test {

/** The largest or smallest voxel among neighbours in a plan. */
struct Step {
  bool isErosion;
  int neighborhood;  ///< 0: the four that share an edge, else all eight
};

/** Plain loops over every plan; neighbours beyond the edge don't count. */
template <class T>
std::vector<T> applyStep(std::vector<T> const& voxels, long rows, long cols, Step const& step) {
  std::vector<T> result(voxels.size());
  long const nbPlans = static_cast<long>(voxels.size()) / (rows * cols);
  for (long plan = 0; plan < nbPlans; ++plan) {
    T const* const in = voxels.data() + plan * rows * cols;
    T* const out = result.data() + plan * rows * cols;
    for (long row = 0; row < rows; ++row) {
      for (long col = 0; col < cols; ++col) {
        T best = in[row * cols + col];
        for (long r = std::max(row - 1, 0L); r <= std::min(row + 1, rows - 1); ++r) {
          for (long c = std::max(col - 1, 0L); c <= std::min(col + 1, cols - 1); ++c) {
            if (step.neighborhood == 0 && r != row && c != col) continue;
            T const voxel = in[r * cols + c];
            best = step.isErosion ? std::min(best, voxel) : std::max(best, voxel);
          }
        }
        out[row * cols + col] = best;
      }
    }
  }
  return result;
}

template <class T>
std::vector<T> applySteps(std::vector<T> voxels, long rows, long cols, Step const& step, int nbIterations) {
  for (int i = 0; i < nbIterations; ++i) voxels = applyStep(voxels, rows, cols, step);
  return voxels;
}

}  // namespace test
