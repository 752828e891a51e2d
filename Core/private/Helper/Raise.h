#pragma once

#include <string>

#include "pxl/Exception.h"

namespace pxl::helper {

/** Throws an E that carries a text and the source place it comes from. */
template <class E>
[[noreturn]] void raise(std::string const& message, char const* file, long line) {
  Exception::ExceptionInfo info;
  info.message = String(message);
  info.file = file;
  info.line = line;
  throw E(info);
}

}  // namespace pxl::helper
