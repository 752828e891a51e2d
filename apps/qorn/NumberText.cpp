#include "qorn/NumberText.h"

#include <cmath>
#include <limits>

#include "qorn/Errors.h"

namespace qorn {

template <class T>
T parseNumberOrThrow(std::string const& what, std::string_view text, char const* type) {
  T value = 0;
  switch (parseNumber(text, value)) {
    case ParseError::cMalformed:
      throw UsageError(what, std::string("not a number of type ") + type);
    case ParseError::cOutOfRange:
      if constexpr (std::is_integral_v<T>) {
        throw UsageError(what, std::string("out of range: ") + type + " from " +
                                   std::to_string(std::numeric_limits<T>::min()) + " to " +
                                   std::to_string(std::numeric_limits<T>::max()));
      } else {
        throw UsageError(what, "out of range");
      }
    case ParseError::cNone:
      break;
  }
  if constexpr (std::is_floating_point_v<T>) {
    if (!std::isfinite(value)) throw UsageError(what, "must be finite");
  }
  return value;
}

template int parseNumberOrThrow(std::string const&, std::string_view, char const*);
template unsigned int parseNumberOrThrow(std::string const&, std::string_view, char const*);
template unsigned long parseNumberOrThrow(std::string const&, std::string_view, char const*);
template double parseNumberOrThrow(std::string const&, std::string_view, char const*);

unsigned long parseBytesOrThrow(std::string const& what, std::string_view text) {
  constexpr std::string_view cUnits = "KMG";
  unsigned long unit = 1;
  if (!text.empty()) {
    std::string_view::size_type const power = cUnits.find(text.back());
    if (power != std::string_view::npos) {
      unit = 1UL << (10 * (power + 1));
      text.remove_suffix(1);
    }
  }
  unsigned long const count = parseNumberOrThrow<unsigned long>(what, text, "bytes");
  if (count > std::numeric_limits<unsigned long>::max() / unit) throw UsageError(what, "out of range");
  return count * unit;
}

namespace {

template <class T>
std::string toShortestText(T value) {
  constexpr double cMaxExactInteger = 9007199254740992.0;
  char text[32];
  if (value == 0 && std::signbit(value)) return "-0.0";  // "-0" would read back as an integer without a sign
  bool const isWhole = std::abs(value) <= cMaxExactInteger && std::trunc(value) == value;
  auto const result = isWhole ? std::to_chars(text, text + sizeof text, static_cast<long>(value))
                              : std::to_chars(text, text + sizeof text, value);
  return std::string(text, result.ptr);
}

}  // namespace

std::string toText(double value) { return toShortestText(value); }

std::string toText(float value) { return toShortestText(value); }

}  // namespace qorn
