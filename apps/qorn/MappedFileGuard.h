#pragma once

#include <string>

#include "pxl/Image.h"
#include "pxl/Noncopyable.h"

namespace qorn {

/**
 * While it exists, the program ends with one line on standard error, exit code 1 and nothing left behind when bytes
 * of a mapped file can't be read, as after another process has cut the file. Else a signal would end it. An image
 * that isn't a mapped file needs no guard, and gets none. At most cMaxNb at a time; beyond them the signal stays.
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
  std::string m_line;  ///< what is said in the end; a signal handler can't compose it
};

}  // namespace qorn
