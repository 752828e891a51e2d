#include "access/VoxelMemory.h"

#include <sys/mman.h>

#include <cstdlib>
#include <cstring>
#include <new>

namespace pxl::access {

std::shared_ptr<void> allocateVoxels(unsigned long bytes) {
  constexpr unsigned long cSmall = 1UL << 20;
  constexpr unsigned long cAlignment = 64;
  if (bytes < cSmall) {
    unsigned long const rounded = (bytes / cAlignment + 1) * cAlignment;
    void* const memory = std::aligned_alloc(cAlignment, rounded);
    if (!memory) throw std::bad_alloc();
    std::memset(memory, 0, rounded);
    return std::shared_ptr<void>(memory, std::free);
  }
  void* const memory = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  ::madvise(memory, bytes, MADV_HUGEPAGE);
  return std::shared_ptr<void>(memory, [bytes](void* pages) { ::munmap(pages, bytes); });
}

}  // namespace pxl::access
