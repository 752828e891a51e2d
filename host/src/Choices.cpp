#include "pxl/Choices.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace pxl {

bool Choices::findValue(String const& text, int& value) const {
  std::string_view rest = text.str();
  int sum = 0;
  while (true) {
    std::string_view::size_type const comma = m_kind == ChoiceKinds::cSum ? rest.find(',') : std::string_view::npos;
    std::string_view const name = rest.substr(0, comma);
    auto const* const named =
        std::find_if(begin(), end(), [name](Choice const& choice) { return choice.name == name; });
    if (named == end()) return false;
    sum |= named->value;
    if (comma == std::string_view::npos) break;
    rest.remove_prefix(comma + 1);
  }
  value = sum;
  return true;
}

String Choices::getText(int value) const {
  std::string text;
  int named = 0;
  for (Choice const& choice : *this) {
    if (choice.value == value) return choice.name;
    if (m_kind == ChoiceKinds::cOne || choice.value == 0 || (choice.value & value) != choice.value) continue;
    text += (text.empty() ? "" : ",") + std::string(choice.name);
    named |= choice.value;
  }
  return named == value ? text : std::string();
}

}  // namespace pxl
