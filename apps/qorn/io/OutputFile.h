#pragma once

#include <memory>
#include <string>

#include "pxl/Noncopyable.h"
#include "qorn/io/TemporaryName.h"

namespace qorn::io {

/**
 * A file that appears under its path only when it is complete. Until commit() it is unnamed if the file system
 * supports that, else it has a temporary name beside the path, which the destructor removes.
 */
class OutputFile : private pxl::Noncopyable {
 public:
  /**
   * With `isReplacing`, commit() replaces a regular file at the path, also behind a symbolic link; otherwise it is
   * refused. `isCancelled` is called between pieces of the written data; it may be null.
   * @throws FileError the folder can't be written, or the path isn't a regular file
   */
  OutputFile(std::string path, bool isReplacing, bool (*isCancelled)() = nullptr);
  ~OutputFile();

  std::string const& getPath() const { return m_path; }
  int getDescriptor() const { return m_descriptor; }
  /** A path with which this process can open the unfinished file. */
  std::string getOpenPath() const;

  /** Reserves space and extends the file to this size. @throws FileError there isn't enough space */
  void reserve(unsigned long bytes) const;
  /** Whether writing hasn't been cancelled. */
  bool isWanted() const noexcept { return m_isCancelled == nullptr || !m_isCancelled(); }
  /** @throws ExceptionCancelation writing was cancelled */
  void checkIsWanted() const;

  /** Writes all bytes. @throws FileError, ExceptionCancelation */
  void write(void const* bytes, unsigned long count, unsigned long offset) const;
  /** The same without exceptions: returns 0 or the error number. */
  int tryWrite(void const* bytes, unsigned long count, unsigned long offset) const noexcept;

  /** Renames the file to its path. @throws FileError */
  void commit();
  /** Makes it a scratch file that is deleted with this object; commit() must not be called then. */
  void renounceName() { m_name.reset(); }

 private:
  void openNamed();
  void checkIsStored() const;
  void link(std::string const& path) const;
  void moveToFreeTarget();

  std::string m_path;    ///< as it was given
  std::string m_target;  ///< behind symbolic links
  bool m_isReplacing;
  bool (*m_isCancelled)();
  int m_descriptor;
  std::unique_ptr<TemporaryName> m_name;  ///< null if the file is unnamed
};

}  // namespace qorn::io
