#pragma once

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>

#include "wide/RowKernels.h"

namespace pxl::wide {

/** The scratch memory of a thread, made on first use. */
class Scratch {
 public:
  /** The same memory each time, aligned to a cache line. */
  char* get(long nbBytes) {
    if (!m_memory) {
      long const size = std::max((nbBytes + cCacheLine - 1) / cCacheLine * cCacheLine, cCacheLine);
      m_memory.reset(static_cast<char*>(std::aligned_alloc(cCacheLine, static_cast<std::size_t>(size))));
      if (!m_memory) throw std::bad_alloc();
    }
    return m_memory.get();
  }

 private:
  struct Free {
    void operator()(char* memory) const { std::free(memory); }
  };
  std::unique_ptr<char, Free> m_memory;
};

}  // namespace pxl::wide
