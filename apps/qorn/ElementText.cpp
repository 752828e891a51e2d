#include "qorn/ElementText.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

#include "pxl/Exception.h"
#include "pxl/access/View.h"
#include "qorn/Errors.h"
#include "qorn/NumberText.h"
#include "qorn/io/ImageFile.h"
#include "qorn/io/Suffix.h"

namespace qorn {
namespace {

using pxl::kernel::StructuringElement;

std::string_view trim(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

/** The text between NAME( and ). */
std::optional<std::string_view> findArguments(std::string_view text, std::string_view name) {
  text = trim(text);
  if (text.substr(0, name.size()) != name) return std::nullopt;
  text = trim(text.substr(name.size()));
  if (text.size() < 2 || text.front() != '(' || text.back() != ')') return std::nullopt;
  return trim(text.substr(1, text.size() - 2));
}

/** Splits whole numbers off the end of "FILE, 1, 2"; a comma may be part of the file's name. */
std::vector<long> takeOrigin(std::string_view& text) {
  std::vector<long> origin;
  while (origin.size() < 3) {
    std::string_view::size_type const comma = text.rfind(',');
    int position = 0;
    if (comma == std::string_view::npos || parseNumber(trim(text.substr(comma + 1)), position) != ParseError::cNone) {
      break;
    }
    origin.insert(origin.begin(), position);
    text = trim(text.substr(0, comma));
  }
  return origin;
}

StructuringElement readMask(std::string const& what, std::string_view arguments) {
  constexpr unsigned long cMaxNbVoxels = 1UL << 30;
  std::vector<long> const origin = takeOrigin(arguments);
  io::ReadOptions options;
  options.isPrivate = true;  // not mapped: another process could truncate the file
  options.check = [&what](io::ImageHeader const& header) {
    if (header.rank > 3) {
      throw UsageError(what, "the file has " + std::to_string(header.rank) + " dimensions and a mask 2 or 3");
    }
    if (io::getNbVoxels(header) > cMaxNbVoxels) throw UsageError(what, "a mask has at most 2^30 voxels");
  };
  io::ImageFile const file = io::readImage(std::string(arguments), options);
  pxl::ImageModel const* const image = file.image.get();
  auto const view = pxl::access::View<double>::New(image, pxl::access::FixedBorderCondition<double>::New(0));
  std::vector<long> sizes{static_cast<long>(view->nbRows), static_cast<long>(view->nbCols)};
  if (file.header.rank == 3) sizes.insert(sizes.begin(), static_cast<long>(view->nbPlans));
  std::vector<unsigned char> array;
  array.reserve(io::getNbVoxels(file.header));
  std::vector<double> voxels(view->nbCols);
  for (long plan = 0; plan < static_cast<long>(view->nbPlans); ++plan) {
    for (long row = 0; row < static_cast<long>(view->nbRows); ++row) {
      view->getInterface()->readRow(voxels.data(), sizes.back(), 0, row, plan, 0, 0);
      for (double const voxel : voxels) array.push_back(voxel != 0);
    }
  }
  return origin.empty() ? StructuringElement::mask(array.data(), sizes)
                        : StructuringElement::mask(array.data(), sizes, origin);
}

}  // namespace

StructuringElement parseElement(std::string const& text) {
  std::string const what = "element=" + text;
  try {
    // The argument of a mask is either digits or the name of a file.
    auto const arguments = findArguments(text, "mask");
    if (arguments && arguments->find_first_not_of("01;|, -23456789") != std::string_view::npos) {
      return readMask(what, *arguments);
    }
    return StructuringElement::parse(text);
  } catch (pxl::InvalidCall const& refusal) {
    throw UsageError(what, refusal.what());
  }
}

bool isElementText(std::string const& text) { return text.find('(') != std::string::npos; }

std::string applySpacing(std::string const& text, std::string const& path, io::ImageHeader const& header) {
  struct Form {
    char const *name, *result;
    std::size_t nbAxes;
  };
  constexpr Form cForms[] = {
      {"ball", "ellipsoid", 3}, {"ellipsoid", "ellipsoid", 3}, {"disk", "ellipse", 2}, {"ellipse", "ellipse", 2}};
  for (Form const& form : cForms) {
    auto const radius = findArguments(text, form.name);
    if (!radius || radius->find(',') != std::string_view::npos) continue;
    if (header.spacing.size() < form.nbAxes) {
      throw UsageError("--spacing auto", path + " has no spacing of " + std::to_string(form.nbAxes) + " axes");
    }
    std::string result = std::string(form.result) + "(" + std::string(*radius);
    // The order in the file is columns, rows, plans.
    for (std::size_t i = form.nbAxes; i-- > 0;) result += ", " + toText(header.spacing[i]);
    return result + ")";
  }
  throw UsageError("--spacing auto",
                   "the element must be ball(RADIUS), ellipsoid(RADIUS), disk(RADIUS) or ellipse(RADIUS)");
}

}  // namespace qorn
