#pragma once

#include <array>
#include <cstddef>

namespace access_test {

/** False where a sanitizer owns the allocator: tests that need the hook are skipped there. */
bool isMallocHooked();

/** Where a malloc of the watched thread places its block. */
enum class Placement {
  cAsUsual,
  cAtOffset0,  ///< 0 modulo 16
  cAtOffset8,  ///< 8 modulo 16
  /**
   * An aligned buffer in the block ends where an inaccessible page begins; the block itself begins 16, or 8, bytes
   * below the buffer. The buffer has MallocWatch::accessibleSize bytes or, if that is 0, `size - 32`, rounded up to
   * 16. The rest of the block is inaccessible.
   */
  cGuarded16,
  cGuarded8
};

/**
 * Watches the allocations of the calling thread while it exists: direct calls of malloc and operator new, separately.
 * Only one at a time. No expectations while it exists: they allocate, too.
 */
class MallocWatch {
 public:
  MallocWatch();
  ~MallocWatch();
  MallocWatch(MallocWatch const&) = delete;
  MallocWatch& operator=(MallocWatch const&) = delete;

  /** Ends the watch early; the records are kept. */
  void stop();

  Placement placement = Placement::cAsUsual;
  std::size_t placedSize = 0;      ///< only direct calls of this size are placed
  std::size_t accessibleSize = 0;  ///< of their buffers, before a page that ends them
  long failAt = -1;                ///< this request, counted from 0, fails

  long nbRequests = 0;  ///< of both sorts
  long nbFailed = 0;
  long nbDirect = 0;
  long nbPlaced = 0;
  std::array<std::size_t, 64> directSizes{};
  std::array<void*, 64> directResults{};

  /** How many of the blocks allocated since the beginning are not freed yet. */
  long countLiving() const;
  /** How many requests of either sort had this size. */
  long countOfSize(std::size_t size) const;

  // For the hook.
  void* allocate(std::size_t size, bool isDirect);
  void release(void* block);

 private:
  std::array<void*, 4096> m_living{};
  std::array<std::size_t, 4096> m_sizes{};
};

}  // namespace access_test
