#pragma once

#include <tiffio.h>

#include <string>

#include "pxl/Noncopyable.h"

namespace qorn::io {

class InputFile;

/** A TIFF file that is open for reading, and its present page. The library's messages go into the exceptions. */
class TiffFile : private pxl::Noncopyable {
 public:
  /** Opens the file at its first page. The file isn't mapped: one that is cut meanwhile must not raise a signal. */
  explicit TiffFile(InputFile const& file);
  ~TiffFile();

  TIFF* get() const { return m_tiff; }
  InputFile const& getFile() const { return m_file; }
  /** The number of the present page, from 1. */
  unsigned long getPage() const { return m_page; }

  /** Goes to the next page; false when there is none. @throws FileError when there is one that can't be read */
  bool nextPage();
  /** Goes back to the first page. @throws FileError */
  void firstPage();

  /** Throws a FileError that names the page, if there are several, and adds what the library said last. */
  [[noreturn]] void fail(std::string const& why) const;

 private:
  void checkDirectory() const;

  InputFile const& m_file;
  TIFF* m_tiff;
  unsigned long m_page;
};

}  // namespace qorn::io
