#include "qorn/KernelPresets.h"

#include <array>
#include <cmath>

#include "pxl/Limits.h"
#include "qorn/Errors.h"
#include "qorn/NumberText.h"

namespace qorn {
namespace {

using Taps = std::vector<double>;

/** The separable kernel of these coefficients for each axis: columns, rows and, in 3-D, plans. */
KernelArray multiply(std::array<Taps, 3> const& axes, int rank) {
  static Taps const one{1};
  Taps const& plans = rank == 3 ? axes[2] : one;
  KernelArray array{
      static_cast<long>(plans.size()), static_cast<long>(axes[1].size()), static_cast<long>(axes[0].size()), {}};
  for (double const plan : plans) {
    for (double const row : axes[1]) {
      for (double const col : axes[0]) array.coefficients.push_back(plan * row * col);
    }
  }
  return array;
}

void checkSize(std::string const& what, double size, int rank) {
  if (!(std::pow(size, rank) <= static_cast<double>(pxl::limits::cMaxNbOffsets)))
    throw UsageError(what, "a kernel has at most " + std::to_string(pxl::limits::cMaxNbOffsets) + " coefficients");
}

KernelArray makeGauss(std::string const& what, double sigma, int rank) {
  if (!(sigma > 0)) throw UsageError(what, "sigma must be above 0");
  double const reach = std::floor(4 * sigma + 0.5);
  checkSize(what, 2 * reach + 1, rank);
  Taps taps;
  double sum = 0;
  for (double offset = -reach; offset <= reach; ++offset) {
    taps.push_back(std::exp(-0.5 * (offset / sigma) * (offset / sigma)));
    sum += taps.back();
  }
  for (double& tap : taps) tap /= sum;
  return multiply({taps, taps, taps}, rank);
}

KernelArray makeBox(std::string const& what, unsigned int size, int rank) {
  if (size == 0) throw UsageError(what, "a box has at least 1 voxel");
  checkSize(what, size, rank);
  KernelArray array = multiply({Taps(size, 1), Taps(size, 1), Taps(size, 1)}, rank);
  double const nbTaps = static_cast<double>(array.coefficients.size());
  for (double& coefficient : array.coefficients) coefficient /= nbTaps;
  return array;
}

KernelArray makeSobel(std::string const& what, std::size_t axis, int rank) {
  if (axis >= static_cast<std::size_t>(rank)) throw UsageError(what, "a 2-D kernel has no plans");
  std::array<Taps, 3> axes{Taps{1, 2, 1}, Taps{1, 2, 1}, Taps{1, 2, 1}};
  axes[axis] = {-1, 0, 1};
  return multiply(axes, rank);
}

KernelArray makeLaplace(int rank) {
  if (rank == 2) return {1, 3, 3, {0, 1, 0, 1, -4, 1, 0, 1, 0}};
  KernelArray array{3, 3, 3, Taps(27, 0)};
  for (std::size_t const face : {4U, 10U, 12U, 14U, 16U, 22U}) array.coefficients[face] = 1;
  array.coefficients[13] = -6;
  return array;
}

/** The text between NAME( and ). */
std::optional<std::string> findArgument(std::string const& text, std::string const& name) {
  if (text.compare(0, name.size() + 1, name + "(") != 0 || text.back() != ')') return std::nullopt;
  return text.substr(name.size() + 1, text.size() - name.size() - 2);
}

}  // namespace

std::optional<KernelArray> makePreset(std::string const& what, std::string const& text, int rank) {
  if (auto const sigma = findArgument(text, "gauss")) {
    return makeGauss(what, parseNumberOrThrow<double>(what, *sigma, "real"), rank);
  }
  if (auto const size = findArgument(text, "box")) {
    return makeBox(what, parseNumberOrThrow<unsigned int>(what, *size, "unsigned integer"), rank);
  }
  constexpr char const* cSobel[] = {"sobel-x", "sobel-y", "sobel-z"};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    if (text == cSobel[axis]) return makeSobel(what, axis, rank);
  }
  if (text == "laplace") return makeLaplace(rank);
  return std::nullopt;
}

}  // namespace qorn
