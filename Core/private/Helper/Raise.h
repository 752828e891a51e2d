#pragma once

#include <string>

#include "pxl/Exception.h"

namespace pxl::helper {

/** Throws an E with a message and its source location. */
template <class E>
[[noreturn]] void raise(std::string const& message, char const* file, long line) {
  Exception::ExceptionInfo info;
  info.message = String(message);
  info.file = file;
  info.line = line;
  throw E(info);
}

}  // namespace pxl::helper
