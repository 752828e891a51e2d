#include "qorn/io/TiffFile.h"

#include <unistd.h>

#include "qorn/io/FileError.h"
#include "qorn/io/InputFile.h"
#include "qorn/io/TiffMessages.h"

namespace qorn::io {

TiffFile::TiffFile(InputFile const& file) : m_file(file), m_tiff(nullptr), m_page(1) {
  captureTiffMessages();
  int const descriptor = file.duplicateDescriptor();
  ::lseek(descriptor, 0, SEEK_SET);  // the position is shared with the other descriptors of the file
  m_tiff = TIFFFdOpen(descriptor, file.getPath().c_str(), "rm");
  if (m_tiff == nullptr) {
    ::close(descriptor);
    fail("not a TIFF file, or a broken one");
  }
  try {
    checkDirectory();
  } catch (...) {
    TIFFClose(m_tiff);
    throw;
  }
}

TiffFile::~TiffFile() { TIFFClose(m_tiff); }

/** The library treats a truncated directory as the last one: pages would be lost silently. */
void TiffFile::checkDirectory() const {
  unsigned char start[4] = {};
  m_file.read(start, sizeof start, 0);
  bool const isBigEndian = start[0] == 'M';
  bool const isBigTiff = start[isBigEndian ? 3 : 2] == 43;
  unsigned long const countBytes = isBigTiff ? 8 : 2;
  unsigned long const entryBytes = isBigTiff ? 20 : 12;
  unsigned long const nextBytes = isBigTiff ? 8 : 4;
  unsigned char bytes[8] = {};
  unsigned long const offset = TIFFCurrentDirOffset(m_tiff);
  m_file.read(bytes, countBytes, offset);
  unsigned long count = 0;
  for (unsigned long i = 0; i < countBytes; ++i) count = count << 8 | bytes[isBigEndian ? i : countBytes - 1 - i];
  unsigned long const rest = m_file.getSize() - offset - countBytes;  // bytes available for entries
  if (rest < nextBytes || count > (rest - nextBytes) / entryBytes) fail("the file ends within a page's directory");
}

bool TiffFile::nextPage() {
  captureTiffMessages();
  if (TIFFLastDirectory(m_tiff) != 0) return false;
  ++m_page;
  if (TIFFReadDirectory(m_tiff) == 0) fail("broken list of pages");
  checkDirectory();
  return true;
}

void TiffFile::firstPage() {
  captureTiffMessages();
  m_page = 1;
  if (TIFFSetDirectory(m_tiff, 0) == 0) fail("broken list of pages");
}

void TiffFile::fail(std::string const& why) const {
  std::string text = m_page > 1 ? "page " + std::to_string(m_page) + ": " + why : why;
  if (std::string const message = getTiffMessage(); !message.empty()) text += " (" + message + ")";
  throw FileError(m_file.getPath(), text);
}

}  // namespace qorn::io
