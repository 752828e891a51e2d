#pragma once

#include <unistd.h>

#include <utility>

#include "pxl/Noncopyable.h"

namespace pxl::access {

/** Owns a descriptor, or -1, until it is released. */
class FileDescriptor : private Noncopyable {
 public:
  explicit FileDescriptor(int file) : m_file(file) {}
  ~FileDescriptor() {
    if (m_file >= 0) ::close(m_file);
  }
  int get() const { return m_file; }
  int release() { return std::exchange(m_file, -1); }

 private:
  int m_file;
};

}  // namespace pxl::access
