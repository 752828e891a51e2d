#pragma once

#include <array>
#include <cstddef>

namespace access_test {

/** False where a sanitizer owns the allocator: tests that need the hook are skipped there. */
bool isMallocHooked();

/** Where a malloc of the watched thread puts its block. */
enum class Placement {
  cAsUsual,
  cAtOffset0,  ///< 0 modulo 16
  cAtOffset8,  ///< 8 modulo 16
  /**
   * An aligned buffer of `size - 32` bytes in the block, rounded up to 16, ends where an inaccessible page begins;
   * the block itself lies 16, or 8, bytes below the buffer. What the block has beyond is out of bounds.
   */
  cGuarded16,
  cGuarded8
};

/**
 * Watches the allocations of the calling thread while it lives: direct calls of malloc on one side, operator new on
 * the other. One at a time. No expectations within its life: they allocate, too.
 */
class MallocWatch {
 public:
  MallocWatch();
  ~MallocWatch();
  MallocWatch(MallocWatch const&) = delete;
  MallocWatch& operator=(MallocWatch const&) = delete;

  /** Ends the watching early; what was seen stays. */
  void stop();

  Placement placement = Placement::cAsUsual;
  std::size_t placedSize = 0;  ///< only direct calls of this size are placed
  long failAt = -1;            ///< this request, counted from 0, gets nothing

  long nbRequests = 0;  ///< of both sorts
  long nbFailed = 0;
  long nbDirect = 0;
  std::array<std::size_t, 64> directSizes{};
  std::array<void*, 64> directResults{};

  /** How many of the blocks given out since the beginning are not freed yet. */
  long countLiving() const;

  // For the hook.
  void* allocate(std::size_t size, bool isDirect);
  void release(void* block);

 private:
  std::array<void*, 4096> m_living{};
};

}  // namespace access_test
