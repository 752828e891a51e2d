#pragma once

#include <algorithm>
#include <cstring>

namespace bench {

/** Prefetches the beginning of a row for reading (0) or writing (1): the hardware prefetcher restarts at each row. */
template <int cUse, class T>
void prefetchRow(T const* row, long nbCols) {
  long const nbBytes = std::min(nbCols * static_cast<long>(sizeof(T)), 1024L);
  for (long i = 0; i < nbBytes; i += 64) __builtin_prefetch(reinterpret_cast<char const*>(row) + i, cUse);
}

/** Copies a row of an image into a buffer, and prefetches the next one. */
template <class T>
void copyRowIn(T const* source, T* buffer, long nbCols) {
  std::memcpy(buffer, source, static_cast<std::size_t>(nbCols) * sizeof(T));
  prefetchRow<0>(source + nbCols, nbCols);
}

/** The same for a result. */
template <class T>
void copyRowOut(T const* result, T* target, long nbCols) {
  std::memcpy(target, result, static_cast<std::size_t>(nbCols) * sizeof(T));
  prefetchRow<1>(target + nbCols, nbCols);
}

}  // namespace bench
