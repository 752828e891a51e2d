#include "qorn/io/TiffMessages.h"

#include <tiffio.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace qorn::io {
namespace {

thread_local char t_message[200];

/** The error of the system call that failed in the library, which doesn't report it. */
thread_local int t_error;

void onError(char const*, char const* format, std::va_list arguments) {
  if (t_message[0] != '\0') return;
  t_error = errno;
  std::vsnprintf(t_message, sizeof t_message, format, arguments);
}

}  // namespace

// The handlers are global; errors are kept per thread, warnings are dropped.
void captureTiffMessages() {
  static bool const cIsInstalled = [] {
    TIFFSetErrorHandler(onError);
    TIFFSetWarningHandler(nullptr);
    return true;
  }();
  static_cast<void>(cIsInstalled);
  t_message[0] = '\0';
  t_error = 0;
  errno = 0;
}

std::string getTiffMessage() { return t_message; }

std::string getTiffSystemError() { return t_error == 0 ? std::string() : std::strerror(t_error); }

}  // namespace qorn::io
