#pragma once

#include <cstddef>

#include "pxl/Export.h"
#include "pxl/String.h"

namespace pxl {

/** A value of an integer property that has a name. */
struct Choice {
  char const* name;  ///< for users, lower case, such as "square"
  int value;
  char const* help;  ///< one line
};

/** How several named values make one. */
enum class ChoiceKinds {
  cOne,  ///< they don't: one of them is chosen
  cSum   ///< they are bits, of which any number may be set
};

/**
 * The named values of an integer property, in the order in which they are shown. They are no limit: any other number
 * may be set as well, and the operator says what it means. Refers to the array it is made of.
 */
class PXL_API Choices {
 public:
  /** No names. */
  constexpr Choices() = default;
  template <std::size_t N>
  constexpr Choices(Choice const (&list)[N], ChoiceKinds kind = ChoiceKinds::cOne)
      : m_begin(list), m_end(list + N), m_kind(kind) {}

  constexpr Choice const* begin() const { return m_begin; }
  constexpr Choice const* end() const { return m_end; }
  constexpr bool isEmpty() const { return m_begin == m_end; }
  constexpr ChoiceKinds getKind() const { return m_kind; }

  /**
   * The value that a text names: one name or, for a sum, names with commas between them.
   * @return whether all names are known; `value` is set only then
   */
  bool findValue(String const& text, int& value) const;

  /** The name of a value, of a sum the names with commas between them; empty for one that has none. */
  String getText(int value) const;

 private:
  Choice const* m_begin = nullptr;
  Choice const* m_end = nullptr;
  ChoiceKinds m_kind = ChoiceKinds::cOne;
};

}  // namespace pxl
