#pragma once

#include <charconv>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace qorn {

enum class ParseError { cNone, cMalformed, cOutOfRange };

/**
 * Parses the whole text as one number, without spaces, leading '+' or trailing text. A negative number is out of
 * range for an unsigned type.
 */
template <class T>
ParseError parseNumber(std::string_view text, T& value) {
  bool const isNegative = std::is_unsigned_v<T> && !text.empty() && text.front() == '-';
  if (isNegative) text.remove_prefix(1);
  char const* const end = text.data() + text.size();
  auto const [rest, fault] = std::from_chars(text.data(), end, value);
  if (rest != end || fault == std::errc::invalid_argument) return ParseError::cMalformed;
  return isNegative || fault != std::errc() ? ParseError::cOutOfRange : ParseError::cNone;
}

/**
 * The value of an option or property.
 * @throws UsageError the text isn't a number of this type
 *
 * @param what  the invalid argument, such as "radius=-1"
 * @param type  such as "unsigned integer"
 */
template <class T>
T parseNumberOrThrow(std::string const& what, std::string_view text, char const* type);

extern template int parseNumberOrThrow(std::string const&, std::string_view, char const*);
extern template unsigned int parseNumberOrThrow(std::string const&, std::string_view, char const*);
extern template unsigned long parseNumberOrThrow(std::string const&, std::string_view, char const*);
/** Finite numbers only. */
extern template double parseNumberOrThrow(std::string const&, std::string_view, char const*);

/** A number of bytes: digits, optionally with K, M or G in units of 1024. @throws UsageError */
unsigned long parseBytesOrThrow(std::string const& what, std::string_view text);

/** The shortest text that reads back as exactly this value; whole numbers up to 2^53 without exponent or point. */
std::string toText(double value);
/** The same for a float: fewer digits are enough. */
std::string toText(float value);

}  // namespace qorn
