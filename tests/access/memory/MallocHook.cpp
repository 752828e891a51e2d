#include "access/memory/MallocHook.h"

#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ACCESS_TEST_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define ACCESS_TEST_SANITIZED
#endif
#endif

#ifdef ACCESS_TEST_SANITIZED

namespace access_test {
bool isMallocHooked() { return false; }
MallocWatch::MallocWatch() = default;
MallocWatch::~MallocWatch() = default;
void MallocWatch::stop() {}
long MallocWatch::countLiving() const { return 0; }
long MallocWatch::countOfSize(std::size_t) const { return 0; }
void* MallocWatch::allocate(std::size_t, bool) { return nullptr; }
void MallocWatch::release(void*) {}
}  // namespace access_test

#else

extern "C" void* __libc_malloc(std::size_t size);
extern "C" void __libc_free(void* block);

namespace access_test {
namespace {

constexpr std::size_t cPage = 4096;

thread_local MallocWatch* activeWatch = nullptr;

// Blocks that don't begin where the system's allocator put them.
struct PlacedBlock {
  std::atomic<void*> block{nullptr};
  void* base = nullptr;
  std::size_t nbMapped = 0;  // 0: base is from __libc_malloc
};
PlacedBlock placedBlocks[256];
std::atomic<long> nbPlaced{0};

void* notePlaced(void* block, void* base, std::size_t nbMapped) {
  for (PlacedBlock& entry : placedBlocks) {
    if (entry.block.load()) continue;
    entry.base = base;
    entry.nbMapped = nbMapped;
    entry.block.store(block);
    ++nbPlaced;
    return block;
  }
  std::abort();
}

bool freePlaced(void* block) {
  if (nbPlaced.load() == 0) return false;
  for (PlacedBlock& entry : placedBlocks) {
    if (entry.block.load() != block) continue;
    if (entry.nbMapped)
      ::munmap(entry.base, entry.nbMapped);
    else
      __libc_free(entry.base);
    entry.block.store(nullptr);
    --nbPlaced;
    return true;
  }
  return false;
}

void* placeAtOffset(std::size_t size, std::uintptr_t offset) {
  void* const base = __libc_malloc(size + 32);
  std::uintptr_t const aligned = (reinterpret_cast<std::uintptr_t>(base) + 15) & ~std::uintptr_t(15);
  return notePlaced(reinterpret_cast<void*>(aligned + offset), base, 0);
}

void* placeBeforeGuard(std::size_t accessibleSize, std::size_t distance) {
  std::size_t const buffer = (accessibleSize + 15) / 16 * 16;
  std::size_t const nbMapped = (buffer + distance + cPage - 1) / cPage * cPage + cPage;
  void* const base = ::mmap(nullptr, nbMapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  char* const guard = static_cast<char*>(base) + nbMapped - cPage;
  ::mprotect(guard, cPage, PROT_NONE);
  return notePlaced(guard - buffer - distance, base, nbMapped);
}

void* place(std::size_t size, Placement placement, std::size_t accessibleSize) {
  if (accessibleSize == 0) accessibleSize = size - 32;
  switch (placement) {
    case Placement::cAtOffset0:
      return placeAtOffset(size, 0);
    case Placement::cAtOffset8:
      return placeAtOffset(size, 8);
    case Placement::cGuarded16:
      return placeBeforeGuard(accessibleSize, 16);
    case Placement::cGuarded8:
      return placeBeforeGuard(accessibleSize, 8);
    default:
      return __libc_malloc(size);
  }
}

}  // namespace

bool isMallocHooked() { return true; }

MallocWatch::MallocWatch() { activeWatch = this; }
MallocWatch::~MallocWatch() { stop(); }
void MallocWatch::stop() { activeWatch = nullptr; }

void* MallocWatch::allocate(std::size_t size, bool isDirect) {
  if (static_cast<std::size_t>(nbRequests) < m_sizes.size()) m_sizes[static_cast<std::size_t>(nbRequests)] = size;
  bool const isFailing = nbRequests++ == failAt;
  bool const isPlaced = !isFailing && isDirect && size == placedSize && size >= 32;
  if (isFailing) ++nbFailed;
  if (isPlaced) ++nbPlaced;
  void* block = nullptr;
  if (!isFailing) block = isPlaced ? place(size, placement, accessibleSize) : __libc_malloc(size);
  if (isDirect) {
    if (static_cast<std::size_t>(nbDirect) < directSizes.size()) {
      directSizes[static_cast<std::size_t>(nbDirect)] = size;
      directResults[static_cast<std::size_t>(nbDirect)] = block;
    }
    ++nbDirect;
  }
  if (block)
    for (void*& entry : m_living)
      if (!entry) {
        entry = block;
        break;
      }
  return block;
}

void MallocWatch::release(void* block) {
  for (void*& entry : m_living)
    if (entry == block) {
      entry = nullptr;
      return;
    }
}

long MallocWatch::countLiving() const {
  long count = 0;
  for (void* entry : m_living) count += entry != nullptr;
  return count;
}

long MallocWatch::countOfSize(std::size_t size) const {
  return std::count(m_sizes.begin(), m_sizes.begin() + std::min(nbRequests, static_cast<long>(m_sizes.size())), size);
}

namespace {

void* allocate(std::size_t size, bool isDirect) {
  MallocWatch* const watch = activeWatch;
  return watch ? watch->allocate(size, isDirect) : __libc_malloc(size);
}

void release(void* block) {
  if (!block) return;
  if (activeWatch) activeWatch->release(block);
  if (!freePlaced(block)) __libc_free(block);
}

}  // namespace
}  // namespace access_test

#define ACCESS_TEST_EXPORTED __attribute__((visibility("default")))

extern "C" ACCESS_TEST_EXPORTED void* malloc(std::size_t size) { return access_test::allocate(size, true); }
extern "C" ACCESS_TEST_EXPORTED void free(void* block) { access_test::release(block); }

ACCESS_TEST_EXPORTED void* operator new(std::size_t size) {
  if (void* const block = access_test::allocate(size ? size : 1, false)) return block;
  throw std::bad_alloc();
}
ACCESS_TEST_EXPORTED void operator delete(void* block) noexcept { access_test::release(block); }
ACCESS_TEST_EXPORTED void operator delete(void* block, std::size_t) noexcept { access_test::release(block); }

#endif
