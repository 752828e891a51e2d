#include "qorn/io/InputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "qorn/io/FileError.h"

namespace qorn::io {

InputFile::InputFile(std::string path) : m_path(std::move(path)), m_descriptor(-1), m_size(0) {
  // O_NONBLOCK: opening a FIFO must not wait for a writer. It changes nothing for regular files.
  m_descriptor = ::open(m_path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (m_descriptor < 0) throw FileError(m_path, std::strerror(errno));
  struct stat status;
  char const* fault = nullptr;
  if (::fstat(m_descriptor, &status) != 0) {
    fault = std::strerror(errno);
  } else if (S_ISDIR(status.st_mode)) {
    fault = "is a directory";
  } else if (!S_ISREG(status.st_mode)) {
    fault = "not a regular file";
  } else if (status.st_size == 0) {
    fault = "is empty";
  }
  if (fault != nullptr) {
    ::close(m_descriptor);
    throw FileError(m_path, fault);
  }
  m_size = static_cast<unsigned long>(status.st_size);
}

InputFile::~InputFile() { ::close(m_descriptor); }

int InputFile::tryRead(void* bytes, unsigned long count, unsigned long offset) const noexcept {
  char* target = static_cast<char*>(bytes);
  while (count > 0) {
    ssize_t const got = ::pread(m_descriptor, target, count, static_cast<off_t>(offset));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return errno;
    if (got == 0) return -1;
    target += got;
    offset += static_cast<unsigned long>(got);
    count -= static_cast<unsigned long>(got);
  }
  return 0;
}

void InputFile::read(void* bytes, unsigned long count, unsigned long offset) const {
  int const fault = tryRead(bytes, count, offset);
  if (fault != 0) throw FileError(m_path, fault < 0 ? "ends too soon" : std::strerror(fault));
}

bool InputFile::holds(pxl::Image const& image) const {
  struct stat status;
  pxl::access::StorageKey const key = image.getSource().storage->getKey();
  return ::fstat(m_descriptor, &status) == 0 && key.space[0] == status.st_dev && key.space[1] == status.st_ino;
}

int InputFile::duplicateDescriptor() const {
  int const descriptor = ::fcntl(m_descriptor, F_DUPFD_CLOEXEC, 0);
  if (descriptor < 0) throw FileError(m_path, std::strerror(errno));
  return descriptor;
}

}  // namespace qorn::io
