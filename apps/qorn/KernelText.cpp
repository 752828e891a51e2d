#include "qorn/KernelText.h"

#include <string_view>
#include <vector>

#include "pxl/Exception.h"
#include "pxl/Limits.h"
#include "pxl/access/View.h"
#include "qorn/Errors.h"
#include "qorn/KernelPresets.h"
#include "qorn/NumberText.h"
#include "qorn/io/ImageFile.h"
#include "qorn/io/Suffix.h"

namespace qorn {
namespace {

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  while (true) {
    std::string_view::size_type const end = text.find(separator);
    parts.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

std::vector<double> parseRow(std::string const& what, std::string_view text) {
  std::vector<double> row;
  for (std::string_view const word : split(text, ' '))
    if (!word.empty()) row.push_back(parseNumberOrThrow<double>(what, word, "real, nor is there a .npy file"));
  if (row.empty()) throw UsageError(what, "a row of the kernel is empty");
  return row;
}

KernelArray parseArray(std::string const& what, std::string const& text) {
  auto const plans = split(text, '|');
  KernelArray array{static_cast<long>(plans.size()), 0, 0, {}};
  for (std::string_view const plan : plans) {
    auto const rows = split(plan, ';');
    if (array.rows != 0 && static_cast<long>(rows.size()) != array.rows) {
      throw UsageError(what, "the plans of the kernel have different numbers of rows");
    }
    array.rows = static_cast<long>(rows.size());
    for (std::string_view const rowText : rows) {
      std::vector<double> const row = parseRow(what, rowText);
      if (array.cols != 0 && static_cast<long>(row.size()) != array.cols) {
        throw UsageError(what, "the rows of the kernel have different lengths");
      }
      array.cols = static_cast<long>(row.size());
      array.coefficients.insert(array.coefficients.end(), row.begin(), row.end());
    }
  }
  return array;
}

KernelArray readArray(std::string const& what, std::string const& path, int rank) {
  io::ReadOptions options;
  options.isPrivate = true;  // few bytes, and not mapped: another process could truncate the file
  options.check = [&what, rank](io::ImageHeader const& header) {
    if (header.rank != rank) {
      throw UsageError(
          what, "the file has " + std::to_string(header.rank) + " dimensions and the kernel " + std::to_string(rank));
    }
    if (io::getNbVoxels(header) > pxl::limits::cMaxNbOffsets) {
      throw UsageError(what, "a kernel has at most " + std::to_string(pxl::limits::cMaxNbOffsets) + " coefficients");
    }
  };
  io::ImageFile const file = io::readImage(path, options);
  pxl::ImageModel const* const image = file.image.get();
  auto const view = pxl::access::View<double>::New(image, pxl::access::FixedBorderCondition<double>::New(0));
  KernelArray array{static_cast<long>(view->nbPlans), static_cast<long>(view->nbRows),
                    static_cast<long>(view->nbCols), std::vector<double>(io::getNbVoxels(file.header))};
  double* target = array.coefficients.data();
  for (long plan = 0; plan < array.plans; ++plan)
    for (long row = 0; row < array.rows; ++row, target += array.cols)
      view->getInterface()->readRow(target, array.cols, 0, row, plan, 0, 0);
  return array;
}

/** Column, row and plan. */
std::vector<long> parseOrigin(std::string const& text, int rank) {
  std::string const what = "--kernel-origin " + text;
  auto const words = split(text, ',');
  if (words.size() != static_cast<std::size_t>(rank)) {
    throw UsageError(what, rank == 2 ? "expected COLUMN,ROW" : "expected COLUMN,ROW,PLAN");
  }
  std::vector<long> origin;
  for (std::string_view const word : words) origin.push_back(parseNumberOrThrow<int>(what, word, "integer"));
  return origin;
}

template <class Kernel>
void setKernelOfRank(pxl::Property<Kernel>& property, std::string const& value,
                     std::optional<std::string> const& origin) {
  constexpr int rank = std::is_same_v<Kernel, pxl::kernel::Kernel2D> ? 2 : 3;
  if (value.empty()) throw UsageError(property.getName(), "has no value");
  std::string const what = std::string(property.getName()) + "=" + value;
  std::optional<KernelArray> const preset = makePreset(what, value, rank);
  KernelArray const array = preset                           ? *preset
                            : io::getSuffix(value) == ".npy" ? readArray(what, value, rank)
                                                             : parseArray(what, value);
  if (rank == 2 && array.plans != 1) throw UsageError(what, "a 2-D kernel has no plans");
  std::vector<long> const at =
      origin ? parseOrigin(*origin, rank) : std::vector<long>{array.cols / 2, array.rows / 2, array.plans / 2};
  double const* const coefficients = array.coefficients.data();
  try {
    if constexpr (rank == 2) {
      property.set(Kernel(coefficients, array.rows, array.cols, at[1], at[0]));
    } else {
      property.set(Kernel(coefficients, array.plans, array.rows, array.cols, at[2], at[1], at[0]));
    }
  } catch (pxl::InvalidCall const& error) {
    throw UsageError(property.getName(), error.what());
  }
}

}  // namespace

void setKernel(pxl::Property<pxl::kernel::Kernel2D>& property, std::string const& value,
               std::optional<std::string> const& origin) {
  setKernelOfRank(property, value, origin);
}

void setKernel(pxl::Property<pxl::kernel::Kernel3D>& property, std::string const& value,
               std::optional<std::string> const& origin) {
  setKernelOfRank(property, value, origin);
}

}  // namespace qorn
