#include "access/FileStorage.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Raise.h"
#include "access/FileDescriptor.h"
#include "access/ImageLimits.h"
#include "access/VoxelMemory.h"

namespace pxl::access {
namespace {

[[noreturn]] void raiseSystemError(std::string const& path, char const* what, int error) {
  PXL_RAISE(RuntimeError, path + ": " + what + ": " + std::strerror(error));
}

// Opens without blocking if the path is a pipe.
int openFile(std::string const& path, FileModes mode) {
  int const flags = mode == FileModes::cReadOnly    ? O_RDONLY
                    : mode == FileModes::cReadWrite ? O_RDWR
                                                    : O_RDWR | O_CREAT | O_EXCL;
  int const file = ::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, 0666);
  if (file < 0) raiseSystemError(path, "can't be opened", errno);
  return file;
}

void checkFile(std::string const& path, int file, unsigned long offset, unsigned long bytes, StorageKey& key) {
  struct stat status;
  if (::fstat(file, &status) != 0) raiseSystemError(path, "can't be examined", errno);
  if (!S_ISREG(status.st_mode)) PXL_RAISE(RuntimeError, path + ": isn't a regular file");
  if (offset > static_cast<unsigned long>(status.st_size) ||
      bytes > static_cast<unsigned long>(status.st_size) - offset)
    PXL_RAISE(RuntimeError, path + ": holds fewer bytes than the image needs");
  key.space[0] = status.st_dev;
  key.space[1] = status.st_ino;
  key.origin = offset;
}

// Returns the error of the system, or 0. If the disk is full, this fails here and not in a later write.
int reserve(int file, unsigned long bytes) {
  int error = 0;
  do {
    error = bytes == 0 ? 0 : ::posix_fallocate(file, 0, static_cast<off_t>(bytes));
  } while (error == EINTR);
  return error;
}

// Transfers `bytes` with as many calls of pread or pwrite as needed. Returns false if the file ends or fails.
template <class Transfer, class Pointer>
bool transferAll(Transfer transfer, int file, Pointer data, unsigned long bytes, long offset) {
  while (bytes > 0) {
    ssize_t const done = transfer(file, data, bytes, offset);
    if (done < 0 && errno == EINTR) continue;
    if (done == 0) errno = EIO;
    if (done <= 0) return false;
    data += done;
    offset += done;
    bytes -= static_cast<unsigned long>(done);
  }
  return true;
}

}  // namespace

FileStorage::FileStorage(VoxelTypes type, ImageSizes const& sizes, std::string const& path, FileModes mode,
                         unsigned long offset)
    : VoxelStorage(type, toPosition(sizes).at),
      m_key(),
      m_file(-1),
      m_isWritable(mode != FileModes::cReadOnly),
      m_path(path) {
  unsigned long const bytes = checkLimits(type, sizes);
  if (mode == FileModes::cCreate && offset > (1UL << 62)) PXL_RAISE(InvalidCall, path + ": the offset is too large");
  FileDescriptor file(openFile(path, mode));
  if (mode == FileModes::cCreate) {
    if (int const error = reserve(file.get(), offset + bytes)) {
      ::unlink(path.c_str());
      raiseSystemError(path, "space can't be reserved", error);
    }
  }
  checkFile(path, file.get(), offset, bytes, m_key);
  m_key.access = m_isWritable ? StorageAccesses::cWritableFile : StorageAccesses::cReadOnlyFile;
  setKeyStrides(m_key, sizes, getPackedStrides(type, sizes));
  m_file = file.release();
}

FileStorage::FileStorage(VoxelTypes type, ImageSizes const& sizes, FileDescriptor&& file, std::string const& name)
    : VoxelStorage(type, toPosition(sizes).at), m_key(), m_file(-1), m_isWritable(true), m_path(name) {
  unsigned long const bytes = checkLimits(type, sizes);
  if (file.get() < 0) raiseSystemError(name, "no file can be created", errno);
  if (int const error = reserve(file.get(), bytes)) raiseSystemError(name, "space can't be reserved", error);
  checkFile(name, file.get(), 0, bytes, m_key);
  m_key.access = StorageAccesses::cWritableFile;
  setKeyStrides(m_key, sizes, getPackedStrides(type, sizes));
  m_file = file.release();
}

FileStorage::~FileStorage() { ::close(m_file); }

long FileStorage::offsetOf(Position const& position) const {
  long offset = static_cast<long>(m_key.origin);
  for (int i = 0; i < cNbComponents; ++i) offset += static_cast<long>(position[i]) * m_key.strides[i];
  return offset;
}

void FileStorage::readRun(void* voxels, unsigned long count, Position const& position) const {
  unsigned long const bytes = count * helper::getSizeOf(getVoxelType());
  if (!transferAll(::pread, m_file, static_cast<char*>(voxels), bytes, offsetOf(position)))
    raiseSystemError(m_path, "can't be read", errno);
}

bool FileStorage::writeRun(void const* voxels, unsigned long count, Position const& position) {
  unsigned long const bytes = count * helper::getSizeOf(getVoxelType());
  return transferAll(::pwrite, m_file, static_cast<char const*>(voxels), bytes, offsetOf(position));
}

std::shared_ptr<void> mapFile(std::string const& path, unsigned long bytes, unsigned long offset, StorageKey& key) {
  FileDescriptor const file(openFile(path, FileModes::cReadOnly));
  checkFile(path, file.get(), offset, bytes, key);
  if (bytes == 0) return allocateVoxels(0);
  unsigned long const shift = offset % static_cast<unsigned long>(::sysconf(_SC_PAGESIZE));
  void* const pages =
      ::mmap(nullptr, bytes + shift, PROT_READ, MAP_SHARED, file.get(), static_cast<off_t>(offset - shift));
  if (pages == MAP_FAILED) raiseSystemError(path, "can't be mapped", errno);
  std::shared_ptr<void> const mapping(pages, [bytes, shift](void* start) { ::munmap(start, bytes + shift); });
  return std::shared_ptr<void>(mapping, static_cast<char*>(pages) + shift);
}

}  // namespace pxl::access
