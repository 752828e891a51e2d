#include "qorn/io/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>
#include <utility>

#include "qorn/io/FileError.h"

namespace qorn::io {
namespace {

[[noreturn]] void failWithErrno(std::string const& path, char const* what, int error) {
  throw FileError(path, std::string(what) + ": " + std::strerror(error));
}

/** The file that a path leads to; the path itself where there is none yet. */
std::string followLinks(std::string const& path) {
  std::error_code error;
  std::filesystem::path const target = std::filesystem::canonical(path, error);
  return error ? path : target.string();
}

std::string getFolder(std::string const& path) {
  std::string const folder = std::filesystem::path(path).parent_path().string();
  return folder.empty() ? "." : folder;
}

std::string makeTemporaryPath(std::string const& path) {
  static std::random_device random;
  char suffix[20];
  std::snprintf(suffix, sizeof suffix, ".%08x.part", static_cast<unsigned int>(random()));
  return path + suffix;
}

void checkTarget(std::string const& path, bool isReplacing) {
  struct stat status;
  if (::lstat(path.c_str(), &status) != 0) {
    if (errno != ENOENT) failWithErrno(path, "can't be written", errno);
    return;
  }
  if (!S_ISREG(status.st_mode)) throw FileError(path, "isn't a regular file");
  if (!isReplacing) throw FileError(path, "exists already");
}

}  // namespace

OutputFile::OutputFile(std::string path, bool isReplacing)
    : m_path(followLinks(path)), m_isReplacing(isReplacing), m_descriptor(-1) {
  checkTarget(m_path, isReplacing);
  m_descriptor = ::open(getFolder(m_path).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666);
  if (m_descriptor >= 0) return;
  m_temporaryPath = makeTemporaryPath(m_path);
  m_descriptor = ::open(m_temporaryPath.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0666);
  if (m_descriptor < 0) failWithErrno(m_path, "can't be written", errno);
}

OutputFile::~OutputFile() {
  ::close(m_descriptor);
  if (!m_temporaryPath.empty()) ::unlink(m_temporaryPath.c_str());
}

std::string OutputFile::getOpenPath() const {
  return m_temporaryPath.empty() ? "/proc/self/fd/" + std::to_string(m_descriptor) : m_temporaryPath;
}

void OutputFile::reserve(unsigned long bytes) const {
  int const error = bytes == 0 ? 0 : ::posix_fallocate(m_descriptor, 0, static_cast<off_t>(bytes));
  if (error != 0) failWithErrno(m_path, "no room for it", error);
}

void OutputFile::write(void const* bytes, unsigned long count, unsigned long offset) const {
  char const* next = static_cast<char const*>(bytes);
  while (count > 0) {
    ssize_t const done = ::pwrite(m_descriptor, next, count, static_cast<off_t>(offset));
    if (done < 0 && errno == EINTR) continue;
    if (done <= 0) failWithErrno(m_path, "can't be written", done < 0 ? errno : EIO);
    next += done;
    offset += static_cast<unsigned long>(done);
    count -= static_cast<unsigned long>(done);
  }
}

void OutputFile::commit() {
  if (!m_isReplacing) return link(m_path);
  if (m_temporaryPath.empty()) {
    std::string const path = makeTemporaryPath(m_path);
    link(path);
    m_temporaryPath = path;
  }
  if (::rename(m_temporaryPath.c_str(), m_path.c_str()) != 0) failWithErrno(m_path, "can't be written", errno);
  m_temporaryPath.clear();
}

// Never replaces a file, whoever made it meanwhile.
void OutputFile::link(std::string const& path) const {
  if (::linkat(AT_FDCWD, getOpenPath().c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0) return;
  if (errno == EEXIST) throw FileError(m_path, "exists already");
  failWithErrno(m_path, "can't be written", errno);
}

}  // namespace qorn::io
