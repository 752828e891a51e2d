#include "qorn/io/TiffMessages.h"

#include <tiffio.h>

#include <cstdarg>
#include <cstdio>

namespace qorn::io {
namespace {

thread_local char t_message[200];

void onError(char const*, char const* format, std::va_list arguments) {
  if (t_message[0] == '\0') std::vsnprintf(t_message, sizeof t_message, format, arguments);
}

}  // namespace

// The handlers belong to the process and to the library; errors are kept by thread, warnings dropped.
void captureTiffMessages() {
  static bool const cIsInstalled = [] {
    TIFFSetErrorHandler(onError);
    TIFFSetWarningHandler(nullptr);
    return true;
  }();
  static_cast<void>(cIsInstalled);
  t_message[0] = '\0';
}

std::string getTiffMessage() { return t_message; }

}  // namespace qorn::io
