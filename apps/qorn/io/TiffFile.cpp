#include "qorn/io/TiffFile.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdio>

#include "qorn/io/FileError.h"
#include "qorn/io/InputFile.h"

namespace qorn::io {
namespace {

/** The first error that the library reported on this thread since it was cleared. */
thread_local char t_message[200];

void onError(char const*, char const* format, std::va_list arguments) {
  if (t_message[0] == '\0') std::vsnprintf(t_message, sizeof t_message, format, arguments);
}

/** The handlers belong to the process and to the library; errors are kept by thread, warnings dropped. */
void installHandlers() {
  static bool const cIsInstalled = [] {
    TIFFSetErrorHandler(onError);
    TIFFSetWarningHandler(nullptr);
    return true;
  }();
  static_cast<void>(cIsInstalled);
  t_message[0] = '\0';
}

}  // namespace

TiffFile::TiffFile(InputFile const& file) : m_file(file), m_tiff(nullptr), m_page(1) {
  installHandlers();
  int const descriptor = file.duplicateDescriptor();
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

/** The library takes a directory whose last bytes are missing as the last one: pages would be lost without a word. */
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
  unsigned long const rest = m_file.getSize() - offset - countBytes;  // these bytes could be read
  if (rest < nextBytes || count > (rest - nextBytes) / entryBytes) fail("the file ends within a page's directory");
}

bool TiffFile::nextPage() {
  t_message[0] = '\0';
  if (TIFFLastDirectory(m_tiff) != 0) return false;
  ++m_page;
  if (TIFFReadDirectory(m_tiff) == 0) fail("broken list of pages");
  checkDirectory();
  return true;
}

void TiffFile::firstPage() {
  t_message[0] = '\0';
  m_page = 1;
  if (TIFFSetDirectory(m_tiff, 0) == 0) fail("broken list of pages");
}

void TiffFile::fail(std::string const& why) const {
  std::string text = m_page > 1 ? "page " + std::to_string(m_page) + ": " + why : why;
  if (t_message[0] != '\0') text += std::string(" (") + t_message + ")";
  throw FileError(m_file.getPath(), text);
}

}  // namespace qorn::io
