#include "qorn/io/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <utility>

#include "pxl/Exception.h"
#include "qorn/io/FileError.h"

namespace qorn::io {
namespace {

[[noreturn]] void fail(std::string const& path, int error) {
  throw FileError(path, std::string("can't be written: ") + std::strerror(error));
}

/** The target of a path behind symbolic links; the path itself if the file doesn't exist yet. */
std::string followLinks(std::string const& path) {
  std::error_code error;
  std::filesystem::path const target = std::filesystem::canonical(path, error);
  return error ? path : target.string();
}

std::string getFolder(std::string const& path) {
  std::string const folder = std::filesystem::path(path).parent_path().string();
  return folder.empty() ? "." : folder;
}

void checkTarget(std::string const& path, std::string const& target, bool isReplacing) {
  struct stat status;
  if (::lstat(target.c_str(), &status) != 0) {
    if (errno != ENOENT) fail(path, errno);
    return;
  }
  if (S_ISDIR(status.st_mode)) throw FileError(path, "is a directory");
  if (S_ISLNK(status.st_mode)) throw FileError(path, "is a symbolic link to nothing");
  if (!S_ISREG(status.st_mode)) throw FileError(path, "not a regular file");
  if (!isReplacing) throw FileError(path, "already exists");
}

std::string getDescriptorPath(int descriptor) { return "/proc/self/fd/" + std::to_string(descriptor); }

/** A new unnamed file, or -1 if that isn't supported or it couldn't be named later. */
int openUnnamed(std::string const& folder) {
  int const descriptor = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666);
  if (descriptor < 0 || ::access(getDescriptorPath(descriptor).c_str(), F_OK) == 0) return descriptor;
  ::close(descriptor);
  return -1;
}

}  // namespace

OutputFile::OutputFile(std::string path, bool isReplacing, bool (*isCancelled)())
    : m_path(std::move(path)),
      m_target(followLinks(m_path)),
      m_isReplacing(isReplacing),
      m_isCancelled(isCancelled),
      m_descriptor(-1) {
  checkTarget(m_path, m_target, isReplacing);
  m_descriptor = openUnnamed(getFolder(m_target));
  if (m_descriptor < 0) openNamed();
}

OutputFile::~OutputFile() { ::close(m_descriptor); }

void OutputFile::openNamed() {
  m_name = std::make_unique<TemporaryName>(getFolder(m_target));
  m_descriptor = ::open(m_name->getPath().c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0666);
  if (m_descriptor < 0) fail(m_path, errno);
}

std::string OutputFile::getOpenPath() const { return m_name ? m_name->getPath() : getDescriptorPath(m_descriptor); }

void OutputFile::reserve(unsigned long bytes) const {
  int error = 0;
  do {
    error = bytes == 0 ? 0 : ::posix_fallocate(m_descriptor, 0, static_cast<off_t>(bytes));
  } while (error == EINTR);
  if (error != 0) {
    throw FileError(m_path, "no room for its " + std::to_string(bytes) + " bytes: " + std::strerror(error));
  }
}

void OutputFile::checkIsWanted() const {
  if (!isWanted()) throw pxl::ExceptionCancelation();
}

void OutputFile::write(void const* bytes, unsigned long count, unsigned long offset) const {
  constexpr unsigned long cPieceBytes = 1UL << 24;
  for (unsigned long done = 0; done < count; done += cPieceBytes) {
    checkIsWanted();
    int const error =
        tryWrite(static_cast<char const*>(bytes) + done, std::min(cPieceBytes, count - done), offset + done);
    if (error != 0) fail(m_path, error);
  }
}

int OutputFile::tryWrite(void const* bytes, unsigned long count, unsigned long offset) const noexcept {
  char const* next = static_cast<char const*>(bytes);
  while (count > 0) {
    ssize_t const done = ::pwrite(m_descriptor, next, count, static_cast<off_t>(offset));
    if (done < 0 && errno == EINTR) continue;
    if (done <= 0) return done < 0 ? errno : EIO;
    next += done;
    offset += static_cast<unsigned long>(done);
    count -= static_cast<unsigned long>(done);
  }
  return 0;
}

void OutputFile::commit() {
  checkIsStored();
  if (!m_isReplacing) return m_name ? moveToFreeTarget() : link(m_target);
  if (!m_name) {
    auto name = std::make_unique<TemporaryName>(getFolder(m_target));
    link(name->getPath());
    m_name = std::move(name);
  }
  if (::rename(m_name->getPath().c_str(), m_target.c_str()) != 0) fail(m_path, errno);
  m_name.reset();
}

/** Some network file systems report failed writes only when the descriptor is closed. */
void OutputFile::checkIsStored() const {
  int const descriptor = ::fcntl(m_descriptor, F_DUPFD_CLOEXEC, 0);
  if (descriptor < 0 || (::close(descriptor) != 0 && errno != EINTR)) fail(m_path, errno);
}

// Never replaces a file, even one that was created meanwhile.
void OutputFile::link(std::string const& path) const {
  if (::linkat(AT_FDCWD, getOpenPath().c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0) return;
  if (errno == EEXIST) throw FileError(m_path, "already exists");
  fail(m_path, errno);
}

// Doesn't replace a file either. File systems without unnamed files may support only one of the two calls.
void OutputFile::moveToFreeTarget() {
  if (::renameat2(AT_FDCWD, m_name->getPath().c_str(), AT_FDCWD, m_target.c_str(), RENAME_NOREPLACE) != 0) {
    if (errno == EEXIST) throw FileError(m_path, "already exists");
    link(m_target);
  }
  m_name.reset();
}

}  // namespace qorn::io
