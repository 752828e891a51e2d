#pragma once

#include <optional>
#include <string>
#include <vector>

namespace qorn {

/** Coefficients of a kernel in C order. */
struct KernelArray {
  long plans;
  long rows;
  long cols;
  std::vector<double> coefficients;
};

/**
 * The two- or three-dimensional kernel of a preset:
 * - gauss(SIGMA): the samples of a Gaussian within 4 SIGMA, rounded to the nearest voxel, normalised to the sum 1
 * - box(N): N voxels in each dimension, normalised to the sum 1
 * - sobel-x, sobel-y, sobel-z: central differences along columns, rows or plans, smoothed with 1 2 1 across
 * - laplace: the sum of the neighbours across a face - their number x the voxel itself
 *
 * @return nothing if the text isn't a preset
 * @throws UsageError a value is missing or invalid
 */
std::optional<KernelArray> makePreset(std::string const& what, std::string const& text, int rank);

}  // namespace qorn
