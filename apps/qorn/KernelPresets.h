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
 * The kernel that a name stands for, of two or three dimensions:
 * - gauss(SIGMA): the samples of a Gaussian within 4 SIGMA, rounded to the nearest voxel, with the sum 1
 * - box(N): N voxels in each dimension with the sum 1
 * - sobel-x, sobel-y, sobel-z: differences along columns, rows, plans of neighbours weighted 1 2 1 across
 * - laplace: the neighbours across a face less the voxel itself, each as often
 *
 * @return nothing if the text isn't one of them
 * @throws UsageError a value is missing or makes no kernel
 */
std::optional<KernelArray> makePreset(std::string const& what, std::string const& text, int rank);

}  // namespace qorn
