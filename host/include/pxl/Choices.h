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

/** Whether named values can be combined. */
enum class ChoiceKinds {
  cOne,  ///< no: exactly one is chosen
  cSum   ///< yes: they are bits, and any number of them may be set
};

/**
 * The named values of an integer property, in the order in which they are shown. Other numbers may be set, too; the
 * operator defines what they mean. Refers to the array that it is made from, and doesn't copy it.
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
   * Converts a text to a value: one name or, for a sum, comma-separated names.
   * @return whether all names are known; `value` is set only then
   */
  bool findValue(String const& text, int& value) const;

  /** The name of a value, or comma-separated names for a sum; empty for a value without a name. */
  String getText(int value) const;

 private:
  Choice const* m_begin = nullptr;
  Choice const* m_end = nullptr;
  ChoiceKinds m_kind = ChoiceKinds::cOne;
};

}  // namespace pxl
