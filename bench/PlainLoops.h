#pragma once

#include <tbb/blocked_range.h>
#include <tbb/combinable.h>
#include <tbb/parallel_for.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <limits>

#include "Images.h"

/**
 * The plainest loops over the bytes of images, as wide as AVX2: nothing that reads and writes the same bytes is much
 * faster. No host, no border, no progress. The processor must have AVX2.
 */
namespace bench {

inline bool hasPlainLoops() { return __builtin_cpu_supports("avx2"); }

/** Pieces of adjacent bytes, each long enough that starting it costs nothing, and aligned to a line of the cache. */
template <class Compute>
void forEachPiece(long nbBytes, Compute const& compute) {
  constexpr long cLine = 64;
  tbb::parallel_for(tbb::blocked_range<long>(0, (nbBytes + cLine - 1) / cLine, 4096), [&](auto const& lines) {
    compute(lines.begin() * cLine, std::min(lines.end() * cLine, nbBytes));
  });
}

/** Whether a result is written past the caches: where the product does so, too. */
inline bool isWrittenPastCaches(long nbBytes) {
  constexpr long cMaxNbBytes = 32 * 1024 * 1024;
  long const nbCacheBytes = ::sysconf(_SC_LEVEL3_CACHE_SIZE);
  return nbCacheBytes > 0 && nbBytes > std::min(nbCacheBytes, cMaxNbBytes) / 3;
}

using WideBytes [[gnu::vector_size(32)]] = long long;
using PlainBytes [[gnu::vector_size(32), gnu::aligned(1), gnu::may_alias]] = long long;

/** out = a xor b; without b, a xor the value repeated. Past the caches `out` is aligned. */
template <bool isWithImage, bool isPastCaches>
[[gnu::target("avx2"), gnu::noinline]] void xorPiece(unsigned char const* a, unsigned char const* b,
                                                     std::uint32_t value, unsigned char* out, long nbBytes) {
  PlainBytes const repeated = PlainBytes{} + static_cast<long long>(value * 0x100000001UL);
  long i = 0;
#pragma GCC unroll 4
  for (; i + 32 <= nbBytes; i += 32) {
    PlainBytes const second = isWithImage ? *reinterpret_cast<PlainBytes const*>(b + i) : repeated;
    PlainBytes const result = *reinterpret_cast<PlainBytes const*>(a + i) ^ second;
    if (isPastCaches)
      __builtin_ia32_movntdq256(reinterpret_cast<WideBytes*>(out + i), result);
    else
      *reinterpret_cast<PlainBytes*>(out + i) = result;
  }
  for (; i < nbBytes; ++i) out[i] = static_cast<unsigned char>(a[i] ^ (isWithImage ? b[i] : value >> (i % 4 * 8)));
  if (isPastCaches) __builtin_ia32_sfence();
}

/** `second` may be null. */
inline void xorPlainly(unsigned char const* first, unsigned char const* second, std::uint32_t value,
                       unsigned char* out, long nbBytes) {
  bool const isPast = reinterpret_cast<std::uintptr_t>(out) % 32 == 0 && isWrittenPastCaches(nbBytes);
  auto const compute = second   ? isPast ? xorPiece<true, true> : xorPiece<true, false>
                         : isPast ? xorPiece<false, true>
                                : xorPiece<false, false>;
  forEachPiece(nbBytes, [&](long begin, long end) {
    compute(first + begin, second ? second + begin : nullptr, value, out + begin, end - begin);
  });
}

template <class T>
struct PlainExtrema {
  T low = std::numeric_limits<T>::max();
  T high = std::numeric_limits<T>::lowest();

  void take(T lowest, T highest) {
    low = lowest < low ? lowest : low;
    high = highest > high ? highest : high;
  }
};

template <class T>
[[gnu::target("avx2"), gnu::noinline]] void scanPiece(T const* voxels, long count, PlainExtrema<T>& extrema) {
  using Vector [[gnu::vector_size(32), gnu::aligned(1), gnu::may_alias]] = T;
  constexpr long L = 32 / static_cast<long>(sizeof(T));
  Vector low[4], high[4];
  for (int k = 0; k < 4; ++k) {
    low[k] = extrema.low - Vector{};
    high[k] = extrema.high - Vector{};
  }
  long i = 0;
  for (; i + 4 * L <= count; i += 4 * L)
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
      Vector const v = *reinterpret_cast<Vector const*>(voxels + i + k * L);
      low[k] = v < low[k] ? v : low[k];
      high[k] = v > high[k] ? v : high[k];
    }
  for (int k = 0; k < 4; ++k)
    for (long lane = 0; lane < L; ++lane) extrema.take(low[k][lane], high[k][lane]);
  for (; i < count; ++i) extrema.take(voxels[i], voxels[i]);
}

template <class T>
PlainExtrema<T> findExtremaPlainly(T const* voxels, long count) {
  constexpr long cSize = static_cast<long>(sizeof(T));
  tbb::combinable<PlainExtrema<T>> parts;
  forEachPiece(count * cSize, [&](long begin, long end) {
    scanPiece(voxels + begin / cSize, (end - begin) / cSize, parts.local());
  });
  PlainExtrema<T> all;
  parts.combine_each([&all](PlainExtrema<T> const& part) { all.take(part.low, part.high); });
  return all;
}

}  // namespace bench
