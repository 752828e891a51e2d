#pragma once

#include <memory>
#include <string>

#include "pxl/Noncopyable.h"
#include "qorn/io/TemporaryName.h"

namespace qorn::io {

/**
 * A file that appears under its path only when it is complete. Until commit() it has no name where the file system
 * can do that, else a temporary one beside the path, which the destructor takes away.
 */
class OutputFile : private pxl::Noncopyable {
 public:
  /**
   * With `isReplacing` a regular file at the path is replaced by commit(), also behind a symbolic link; without, it
   * is refused. `isCancelled` is asked between pieces of what is written; it may be null. @throws FileError the
   * folder can't be written, or something that isn't a regular file is in the way
   */
  OutputFile(std::string path, bool isReplacing, bool (*isCancelled)() = nullptr);
  ~OutputFile();

  std::string const& getPath() const { return m_path; }
  int getDescriptor() const { return m_descriptor; }
  /** A path by which this process may open the unfinished file. */
  std::string getOpenPath() const;

  /** Takes the room for a file of this size, which it has then. @throws FileError there is none */
  void reserve(unsigned long bytes) const;
  /** Whether nobody has cancelled the writing. */
  bool isWanted() const noexcept { return m_isCancelled == nullptr || !m_isCancelled(); }
  /** @throws ExceptionCancelation the file isn't wanted any more */
  void checkIsWanted() const;

  /** Writes all bytes. @throws FileError; ExceptionCancelation */
  void write(void const* bytes, unsigned long count, unsigned long offset) const;
  /** The same for callers that exceptions must not cross: 0 or the error number. */
  int tryWrite(void const* bytes, unsigned long count, unsigned long offset) const noexcept;

  /** Gives the file its name. @throws FileError */
  void commit();
  /** Makes it a file that vanishes with this object; there is no commit() then. */
  void renounceName() { m_name.reset(); }

 private:
  void openNamed();
  void checkIsStored() const;
  void link(std::string const& path) const;
  void moveToFreeTarget();

  std::string m_path;    ///< as it was given
  std::string m_target;  ///< where it leads to
  bool m_isReplacing;
  bool (*m_isCancelled)();
  int m_descriptor;
  std::unique_ptr<TemporaryName> m_name;  ///< null while the file has none
};

}  // namespace qorn::io
