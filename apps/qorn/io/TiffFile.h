#pragma once

#include <tiffio.h>

#include <string>

#include "pxl/Noncopyable.h"

namespace qorn::io {

class InputFile;

/** A TIFF file that is open for reading, and its present page. Exceptions contain the library's messages. */
class TiffFile : private pxl::Noncopyable {
 public:
  /** Opens the file at its first page. The file isn't mapped: truncating it must not raise a signal. */
  explicit TiffFile(InputFile const& file);
  ~TiffFile();

  TIFF* get() const { return m_tiff; }
  InputFile const& getFile() const { return m_file; }
  /** The number of the present page, from 1. */
  unsigned long getPage() const { return m_page; }

  /** Goes to the next page; false if there is none. @throws FileError the next page can't be read */
  bool nextPage();
  /** Goes back to the first page. @throws FileError */
  void firstPage();

  /** Throws a FileError with the number of the page, if there are several, and the library's last message. */
  [[noreturn]] void fail(std::string const& why) const;

 private:
  void checkDirectory() const;

  InputFile const& m_file;
  TIFF* m_tiff;
  unsigned long m_page;
};

}  // namespace qorn::io
