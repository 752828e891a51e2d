#pragma once

#include <locale>
#include <sstream>
#include <typeinfo>

#include "Core/private/Helper/Raise.h"

namespace pxl::helper {

/**
 * Casts between pointers of a polymorphic hierarchy.
 * @throws UnexpectedError the pointer is null or the object has another class; the text has the mangled names of both
 *                         pointer types
 */
template <class To, class From>
To safe_cast(From object) {
  if (object)
    if (To const result = dynamic_cast<To>(object)) return result;
  std::ostringstream message;
  message.imbue(std::locale::classic());
  message << "bad cast when casting " << typeid(From).name() << " into " << typeid(To).name();
  raise<UnexpectedError>(message.str(), "Core/private/Helper/safe_cast", 17);
}

}  // namespace pxl::helper
