#include "qorn/WindowText.h"

#include "qorn/Errors.h"
#include "qorn/NumberText.h"
#include "qorn/io/ImageHeader.h"

namespace qorn {
namespace {

constexpr char cForm[] = "must be ranges of columns, rows, plans, sequence and spectral series as X0:X1,Y0:Y1,...";

std::optional<unsigned long> parseBound(std::string const& what, std::string const& text) {
  if (text.empty()) return std::nullopt;
  unsigned long value = 0;
  if (parseNumber(text, value) != ParseError::cNone) throw UsageError(what, cForm);
  return value;
}

WindowText::Range parseRange(std::string const& what, std::string const& text) {
  std::string::size_type const colon = text.find(':');
  if (colon == std::string::npos) throw UsageError(what, cForm);
  WindowText::Range const range{parseBound(what, text.substr(0, colon)), parseBound(what, text.substr(colon + 1))};
  if (range.end && *range.end <= range.begin.value_or(0)) throw UsageError(what, "is empty");
  return range;
}

}  // namespace

WindowText parseWindow(std::string const& name, std::string const& text) {
  WindowText window{name + ' ' + text, {}};
  std::size_t axis = 0;
  for (std::string::size_type begin = 0; begin != std::string::npos; ++axis) {
    if (axis == window.ranges.size()) throw UsageError(window.option, cForm);
    std::string::size_type const comma = text.find(',', begin);
    window.ranges[axis] = parseRange(window.option, text.substr(begin, comma - begin));
    begin = comma == std::string::npos ? comma : comma + 1;
  }
  return window;
}

pxl::access::Region makeRegion(WindowText const& window, pxl::ImageSizes const& sizes) {
  std::array<long, pxl::cNbComponents> begin;
  std::array<long, pxl::cNbComponents> end;
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    WindowText::Range const& range = window.ranges[i];
    unsigned long const last = range.end.value_or(sizes[i]);
    if (last > sizes[i] || range.begin.value_or(0) >= last) {
      throw UsageError(window.option, std::string("reaches beyond the image, whose ") + io::cAxisNames[i] +
                                          " end at " + std::to_string(sizes[i]));
    }
    begin[i] = static_cast<long>(range.begin.value_or(0));
    end[i] = static_cast<long>(last);
  }
  return {begin[1], end[1], begin[0], end[0], begin[2], end[2], begin[3], end[3], begin[4], end[4]};
}

std::optional<pxl::access::Region> getRegion(std::optional<WindowText> const& crop,
                                             std::optional<WindowText> const& window, pxl::ImageSizes const& sizes) {
  if (!crop && !window) return std::nullopt;
  return makeRegion(crop ? *crop : *window, sizes);
}

}  // namespace qorn
