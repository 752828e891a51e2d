#pragma once

#include <string>

#include "pxl/Image.h"
#include "pxl/Noncopyable.h"

namespace qorn {

/**
 * While it exists and bytes of a mapped file can't be read, for example because another process has truncated the
 * file, the program ends with one line on standard error and exit code 1, and leaves no files behind. Otherwise a
 * signal would end it. Does nothing for an image that isn't a mapped file. There are at most cMaxNb guards at a time;
 * further files aren't guarded.
 */
class MappedFileGuard : private pxl::Noncopyable {
 public:
  static constexpr std::size_t cMaxNb = 16;

  MappedFileGuard(std::string const& path, pxl::Image const& image);
  ~MappedFileGuard();

 private:
  friend struct MappedFileHandler;

  unsigned long m_begin;
  unsigned long m_end;
  std::string m_line;  ///< the error line; a signal handler can't compose it
};

}  // namespace qorn
