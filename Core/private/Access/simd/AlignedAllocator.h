#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>

#include "pxl/Forward.h"

namespace pxl::SimdVec {

/**
 * Allocator of row buffers: aligned, with usable slack after the last element, so that the last vector of a row, of
 * up to `Alignment` bytes, can be loaded and stored as a whole. The address that malloc returned is kept just below
 * the result.
 */
template <class T, std::size_t Alignment>
class AlignedAllocator {
 public:
  static_assert(Alignment >= 16 && (Alignment & (Alignment - 1)) == 0,
                "a power of two, with room for malloc's address");
  using value_type = T;
  /** The number of usable bytes after the last element. */
  static constexpr std::size_t cSlack = Alignment;
  // std::allocator_traits can't rebind it: the alignment isn't a type.
  template <class U>
  struct rebind {
    using other = AlignedAllocator<U, Alignment>;
  };

  AlignedAllocator() = default;
  template <class U>
  AlignedAllocator(AlignedAllocator<U, Alignment> const&) {}

  T* allocate(std::size_t count) {
    constexpr std::size_t cExtra = Alignment + cSlack;
    if (count > (std::numeric_limits<std::size_t>::max() - cExtra) / sizeof(T)) throw std::bad_alloc();
    void* const raw = std::malloc(count * sizeof(T) + cExtra);
    if (!raw) throw std::bad_alloc();
    std::uintptr_t const address = (reinterpret_cast<std::uintptr_t>(raw) + Alignment) & ~(Alignment - 1);
    reinterpret_cast<void**>(address)[-1] = raw;
    return reinterpret_cast<T*>(address);
  }

  void deallocate(T* block, std::size_t) { std::free(reinterpret_cast<void**>(block)[-1]); }

  template <class U>
  bool operator==(AlignedAllocator<U, Alignment> const&) const {
    return true;
  }
  template <class U>
  bool operator!=(AlignedAllocator<U, Alignment> const&) const {
    return false;
  }
};

}  // namespace pxl::SimdVec
