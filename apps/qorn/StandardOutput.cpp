#include "qorn/StandardOutput.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "qorn/Errors.h"

namespace qorn {
namespace {

/** 0 or the error number. */
int writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    ssize_t const written = ::write(descriptor, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return errno;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return 0;
}

}  // namespace

void prepareStandardStreams() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  for (int descriptor = 0; descriptor <= 2; ++descriptor) {
    // Read-only, so that writing still fails. open() returns the lowest free descriptor, which is this one.
    if (::fcntl(descriptor, F_GETFD) < 0 && errno == EBADF) static_cast<void>(::open("/dev/null", O_RDONLY));
  }
}

void writeOutput(std::string_view text) {
  int const fault = writeAll(STDOUT_FILENO, text);
  if (fault != 0) throw ProgramError(cFailed, "standard output", std::strerror(fault));
}

std::string makeErrorLine(std::string_view message) {
  std::string line = "qorn: ";
  for (char const letter : message) {
    bool const isControl = static_cast<unsigned char>(letter) < 0x20 || letter == 0x7f;
    line += isControl ? ' ' : letter;
  }
  return line + '\n';
}

void writeErrorLine(std::string_view message) { writeErrorText(makeErrorLine(message)); }

void writeErrorText(std::string_view text) { static_cast<void>(writeAll(STDERR_FILENO, text)); }

}  // namespace qorn
