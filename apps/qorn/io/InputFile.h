#pragma once

#include <string>

#include "pxl/Image.h"
#include "pxl/Noncopyable.h"

namespace qorn::io {

/** A regular file that is open for reading, and its size in bytes when it was opened. */
class InputFile : private pxl::Noncopyable {
 public:
  /** Never blocks, whatever `path` is. @throws FileError missing, not readable, not a regular file, or empty */
  explicit InputFile(std::string path);
  ~InputFile();

  std::string const& getPath() const { return m_path; }
  unsigned long getSize() const { return m_size; }

  /** Reads exactly `count` bytes. @throws FileError */
  void read(void* bytes, unsigned long count, unsigned long offset) const;
  /** The same without exceptions: returns 0, the error number, or -1 if the file ends too soon. */
  int tryRead(void* bytes, unsigned long count, unsigned long offset) const noexcept;

  /** Whether the voxels of an image on disk or of a mapped file are in this file, whatever file has its path now. */
  bool holds(pxl::Image const& image) const;

  /** A second descriptor of the file, which the caller owns. @throws FileError */
  int duplicateDescriptor() const;

 private:
  std::string m_path;
  int m_descriptor;
  unsigned long m_size;
};

}  // namespace qorn::io
