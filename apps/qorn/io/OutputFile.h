#pragma once

#include <string>

#include "pxl/Noncopyable.h"

namespace qorn::io {

/**
 * A file that appears under its path only when it is complete. Until commit() it has no name where the file system
 * can do that, else a temporary one beside the path, which the destructor takes away.
 */
class OutputFile : private pxl::Noncopyable {
 public:
  /**
   * With `isReplacing` a regular file at the path is replaced by commit(), also behind a symbolic link; without, it
   * is refused. @throws FileError the folder can't be written, or something that isn't a regular file is in the way
   */
  OutputFile(std::string path, bool isReplacing);
  ~OutputFile();

  std::string const& getPath() const { return m_path; }
  int getDescriptor() const { return m_descriptor; }
  /** A path by which this process may open the unfinished file. */
  std::string getOpenPath() const;

  /** Takes the room for a file of this size. @throws FileError there is none */
  void reserve(unsigned long bytes) const;
  /** Writes all bytes. @throws FileError */
  void write(void const* bytes, unsigned long count, unsigned long offset) const;

  /** Gives the file its name. @throws FileError */
  void commit();

 private:
  void link(std::string const& path) const;

  std::string m_path;
  std::string m_temporaryPath;  ///< empty while the file has no name
  bool m_isReplacing;
  int m_descriptor;
};

}  // namespace qorn::io
