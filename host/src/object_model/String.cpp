#include "pxl/String.h"

#include <utility>

namespace pxl {

String::String() = default;
String::String(char const* text) : m_text(text ? text : "") {}
String::String(std::string text) : m_text(std::move(text)) {}

String& String::operator=(char const* text) {
  m_text = text ? text : "";
  return *this;
}

char const* String::c_str() const { return m_text.c_str(); }
std::string const& String::str() const { return m_text; }
bool String::empty() const { return m_text.empty(); }

bool operator==(String const& a, String const& b) { return a.str() == b.str(); }
bool operator!=(String const& a, String const& b) { return !(a == b); }

}  // namespace pxl
