// The bodies of RowKernels.h, once for each target. Included by units that have included hwy/foreach_target.h.
// Nothing of the standard library is used in here: the linker could take a copy of it with the wide instructions for
// everyone.
#if defined(PXLWORKS_WIDE_ROW_KERNELS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PXLWORKS_WIDE_ROW_KERNELS_INL_H
#undef PXLWORKS_WIDE_ROW_KERNELS_INL_H
#else
#define PXLWORKS_WIDE_ROW_KERNELS_INL_H
#endif

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "wide/RowKernels.h"

HWY_BEFORE_NAMESPACE();
namespace pxl::wide::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// a > b ? a : b, which isn't the same as b > a ? b : a where a NaN or two zeros meet. The machine's maximum of x86 is
// this comparison; of others it isn't.
template <Polarities P, class V>
HWY_INLINE V fold(V a, V b) {
#if HWY_ARCH_X86
  return P == Polarities::cDilation ? hn::Max(a, b) : hn::Min(a, b);
#else
  return hn::IfThenElse(P == Polarities::cDilation ? hn::Gt(a, b) : hn::Lt(a, b), a, b);
#endif
}

template <Polarities P, class T>
HWY_INLINE T foldOne(T a, T b) {
  return (P == Polarities::cDilation ? a > b : a < b) ? a : b;
}

template <class T>
using Wide = hn::ScalableTag<T>;
// For rows shorter than a wide vector.
template <class T>
using Narrow = hn::FixedTag<T, 16 / sizeof(T)>;

template <class T>
constexpr long lanesOf() {
  return static_cast<long>(HWY_MAX_BYTES / sizeof(T));
}

template <class T>
HWY_INLINE T const* at(char const* row) {
  return reinterpret_cast<T const*>(row);
}
template <class T>
HWY_INLINE T* at(char* row) {
  return reinterpret_cast<T*>(row);
}

template <class T>
HWY_INLINE void prefetch(RowKernels::Traffic const& traffic, long c, long count) {
  constexpr long cSize = static_cast<long>(sizeof(T));
  char const* const from = traffic.row + (c * cSize >> traffic.shift);
  for (long i = 0; i < count * cSize >> traffic.shift; i += cCacheLine) __builtin_prefetch(from + i, 0, 2);
}

template <bool isPastCaches, class D, class T>
HWY_INLINE void store(hn::Vec<D> v, D d, T* out) {
  if (isPastCaches)
    hn::Stream(v, d, out);
  else
    hn::StoreU(v, d, out);
}

/** Vectors of a row at c, c + L, ...: the fold of all taps. */
template <Polarities P, int nbVectors, bool isPastCaches = false, class D, class T>
HWY_INLINE void foldColumns(D d, T const* const* rows, long nbTaps, T* out, long c) {
  constexpr long L = static_cast<long>(hn::MaxLanes(D()));
  hn::Vec<D> v0 = hn::LoadU(d, rows[0] + c), v1 = v0, v2 = v0, v3 = v0;
  if (nbVectors > 1) {
    v1 = hn::LoadU(d, rows[0] + c + L);
    v2 = hn::LoadU(d, rows[0] + c + 2 * L);
    v3 = hn::LoadU(d, rows[0] + c + 3 * L);
  }
  for (long i = 1; i < nbTaps; ++i) {
    T const* const row = rows[i] + c;
    v0 = fold<P>(v0, hn::LoadU(d, row));
    if (nbVectors > 1) {
      v1 = fold<P>(v1, hn::LoadU(d, row + L));
      v2 = fold<P>(v2, hn::LoadU(d, row + 2 * L));
      v3 = fold<P>(v3, hn::LoadU(d, row + 3 * L));
    }
  }
  store<isPastCaches>(v0, d, out + c);
  if (nbVectors > 1) {
    store<isPastCaches>(v1, d, out + c + L);
    store<isPastCaches>(v2, d, out + c + 2 * L);
    store<isPastCaches>(v3, d, out + c + 3 * L);
  }
}

/** Voxels before the first of a row at a multiple of nbBytes. Stores that straddle two cache lines are slow. */
template <class T>
HWY_INLINE long countUnaligned(T const* row, unsigned long nbBytes) {
  return static_cast<long>((nbBytes - reinterpret_cast<unsigned long>(row) % nbBytes) % nbBytes / sizeof(T));
}

/** One row; its first and last vectors overlap the ones next to them. */
template <Polarities P, bool isPastCaches, class D, class T>
HWY_INLINE void foldRow(D d, T const* const* rows, long nbTaps, T* out, long count,
                        RowKernels::Traffic const& traffic) {
  constexpr long L = static_cast<long>(hn::MaxLanes(D()));
  long c = countUnaligned(out, L * sizeof(T));
  long end = count;
  if (c > 0) foldColumns<P, 1>(d, rows, nbTaps, out, 0);
  if (isPastCaches) {
    // Whole lines are written, and those to which the first or the last vector belongs are not: they are in the
    // caches.
    for (long const begin = c > 0 ? L : 0; c + L <= count && (c < begin || countUnaligned(out + c, cCacheLine) > 0);
         c += L)
      foldColumns<P, 1>(d, rows, nbTaps, out, c);
    if ((count - c) % L > 0) end -= L;
  }
  for (; c + 4 * L <= end; c += 4 * L) {
    if (traffic.row) prefetch<T>(traffic, c, 4 * L);
    foldColumns<P, 4, isPastCaches>(d, rows, nbTaps, out, c);
  }
  for (; c + L <= count; c += L) foldColumns<P, 1>(d, rows, nbTaps, out, c);
  if (c < count) foldColumns<P, 1>(d, rows, nbTaps, out, count - L);
}

template <Polarities P, class T>
HWY_INLINE void foldRowOfAnyLength(T const* const* rows, long nbTaps, T* out, long count,
                                   RowKernels::Traffic const& traffic) {
  if (count >= lanesOf<T>())
    return traffic.isPastCaches ? foldRow<P, true>(Wide<T>(), rows, nbTaps, out, count, traffic)
                                : foldRow<P, false>(Wide<T>(), rows, nbTaps, out, count, traffic);
  constexpr long cNarrow = static_cast<long>(16 / sizeof(T));
  if (count >= cNarrow) {
    for (long c = 0; c + cNarrow <= count; c += cNarrow) foldColumns<P, 1>(Narrow<T>(), rows, nbTaps, out, c);
    if (count % cNarrow > 0) foldColumns<P, 1>(Narrow<T>(), rows, nbTaps, out, count - cNarrow);
    return;
  }
  for (long c = 0; c < count; ++c) {
    T value = rows[0][c];
    for (long i = 1; i < nbTaps; ++i) value = foldOne<P>(value, rows[i][c]);
    out[c] = value;
  }
}

template <Polarities P, class T>
constexpr T cNeutral = P == Polarities::cDilation ? hwy::LowestValue<T>() : hwy::HighestValue<T>();

/** The columns in which voxels may be missing. `rows` and `out` begin at the first of `count` columns without any. */
template <Polarities P, class T>
HWY_NOINLINE void foldEnds(T const* const* rows, long nbTaps, T* out, long count, RowKernels::Ends const& ends) {
  for (long c = ends.nbLeft > 0 ? -ends.nbLeft : count; c < count + ends.nbRight; c = c == -1 ? count : c + 1) {
    long const col = c + ends.nbLeft;
    T value{};
    for (long i = 0; i < nbTaps; ++i) {
      T const tap = col < ends.first[i] || col >= ends.end[i] ? cNeutral<P, T> : rows[i][c];
      value = i == 0 ? tap : foldOne<P>(value, tap);
    }
    out[c] = value;
  }
}

/** A number of taps that is known to the compiler, whose pointers stay in registers. */
template <Polarities P, class T, unsigned nbTaps>
HWY_NOINLINE void foldFew(char const* const* taps, long const* strides, char* out, long outStride, long nbRows,
                          long count, RowKernels::Traffic traffic, RowKernels::Ends const& ends) {
  T const* rows[nbTaps];
  for (unsigned i = 0; i < nbTaps; ++i) rows[i] = at<T>(taps[i]) + ends.nbLeft;
  out += ends.nbLeft * static_cast<long>(sizeof(T));
  count -= ends.nbLeft + ends.nbRight;
  bool const hasEnds = ends.nbLeft + ends.nbRight > 0;
  for (long row = 0;;) {
    if (hasEnds) foldEnds<P>(rows, nbTaps, at<T>(out), count, ends);
    foldRowOfAnyLength<P>(rows, nbTaps, at<T>(out), count, traffic);
    if (++row == nbRows) return;
    for (unsigned i = 0; i < nbTaps; ++i) rows[i] = at<T>(reinterpret_cast<char const*>(rows[i]) + strides[i]);
    out += outStride;
    if (traffic.row) traffic.row += traffic.stride;
  }
}

template <Polarities P, class T>
HWY_NOINLINE void foldMany(char const** taps, long const* strides, long nbTaps, char* out, long outStride,
                           long nbRows, long count, RowKernels::Traffic traffic, RowKernels::Ends const& ends) {
  long const nbLeftBytes = ends.nbLeft * static_cast<long>(sizeof(T));
  for (long i = 0; nbLeftBytes > 0 && i < nbTaps; ++i) taps[i] += nbLeftBytes;
  out += nbLeftBytes;
  count -= ends.nbLeft + ends.nbRight;
  auto const* const rows = reinterpret_cast<T const* const*>(taps);
  bool const hasEnds = ends.nbLeft + ends.nbRight > 0;
  for (long row = 0;;) {
    if (hasEnds) foldEnds<P>(rows, nbTaps, at<T>(out), count, ends);
    foldRowOfAnyLength<P>(rows, nbTaps, at<T>(out), count, traffic);
    if (++row == nbRows) return;
    for (long i = 0; i < nbTaps; ++i) taps[i] += strides[i];
    out += outStride;
    if (traffic.row) traffic.row += traffic.stride;
  }
}

template <Polarities P, class T>
void foldTaps(char const** taps, long const* strides, long nbTaps, char* out, long outStride, long nbRows, long count,
              RowKernels::Traffic const& traffic, RowKernels::Ends const& ends) {
  switch (nbTaps) {
    case 1:
      return foldFew<P, T, 1>(taps, strides, out, outStride, nbRows, count, traffic, ends);
    case 2:
      return foldFew<P, T, 2>(taps, strides, out, outStride, nbRows, count, traffic, ends);
    case 3:
      return foldFew<P, T, 3>(taps, strides, out, outStride, nbRows, count, traffic, ends);
    case 4:
      return foldFew<P, T, 4>(taps, strides, out, outStride, nbRows, count, traffic, ends);
    case 5:
      return foldFew<P, T, 5>(taps, strides, out, outStride, nbRows, count, traffic, ends);
    case 7:
      return foldFew<P, T, 7>(taps, strides, out, outStride, nbRows, count, traffic, ends);
    default:
      return foldMany<P, T>(taps, strides, nbTaps, out, outStride, nbRows, count, traffic, ends);
  }
}

/** nbResults windows at once: what they share is folded once, then a suffix above it and a prefix below. */
template <Polarities P, class T, int nbResults>
HWY_NOINLINE void foldWindows(char const* const* taps, long length, char* const* outs, long count,
                              RowKernels::Traffic const& traffic) {
  Wide<T> const d;
  using V = hn::Vec<Wide<T>>;
  constexpr long L = lanesOf<T>();
  // Eight rows of half lines displace each other before their other halves come.
  bool isPastCaches = traffic.isPastCaches && HWY_MAX_BYTES == cCacheLine;
  for (int i = 0; i < nbResults; ++i)
    isPastCaches = isPastCaches && countUnaligned(at<T>(outs[i]), HWY_MAX_BYTES) == 0;
  for (long start = 0; start < count; start += L) {
    bool const isWhole = start + L <= count;
    long const c = isWhole ? start : count - L;
    auto const put = [&](int i, V v) HWY_ATTR {
      if (isPastCaches && isWhole)
        store<true>(v, d, at<T>(outs[i]) + c);
      else
        store<false>(v, d, at<T>(outs[i]) + c);
    };
    if (traffic.row && isWhole) {
      RowKernels::Traffic part = traffic;
      for (int i = 0; i < nbResults; ++i, part.row += part.stride) prefetch<T>(part, c, L);
    }
    V suffix = hn::LoadU(d, at<T>(taps[nbResults - 1]) + c);
    for (long i = nbResults; i < length; ++i) suffix = fold<P>(suffix, hn::LoadU(d, at<T>(taps[i]) + c));
    V suffixes[static_cast<unsigned>(nbResults)];
    suffixes[nbResults - 1] = suffix;
#pragma GCC unroll 16
    for (int i = nbResults - 2; i >= 0; --i) suffixes[i] = fold<P>(suffixes[i + 1], hn::LoadU(d, at<T>(taps[i]) + c));
    put(0, suffixes[0]);
    V prefix = hn::LoadU(d, at<T>(taps[length]) + c);
    put(1, fold<P>(suffixes[1], prefix));
#pragma GCC unroll 16
    for (int i = 2; i < nbResults; ++i) {
      prefix = fold<P>(prefix, hn::LoadU(d, at<T>(taps[length + i - 1]) + c));
      put(i, fold<P>(suffixes[i], prefix));
    }
  }
}

template <Polarities P, class T>
void foldRowsAtOnce(char const* const* rows, long length, char* const* outs, long nbResults, long count,
                    RowKernels::Traffic const& traffic) {
#if HWY_MAX_BYTES == 64
  if (nbResults == 16) return foldWindows<P, T, 16>(rows, length, outs, count, traffic);
#endif
  if (nbResults == 8)
    foldWindows<P, T, 8>(rows, length, outs, count, traffic);
  else
    foldWindows<P, T, 4>(rows, length, outs, count, traffic);
}

template <Polarities P, class T>
HWY_NOINLINE void foldBlockRow(char const* suffixRow, char const* newRow, char* prefixRow, bool isFirst, char* outRow,
                               long count, RowKernels::Traffic const& traffic) {
  Wide<T> const d;
  constexpr long L = lanesOf<T>();
  T const* const suffix = at<T>(suffixRow);
  T const* const row = at<T>(newRow);
  T* const prefix = at<T>(prefixRow);
  T* const out = at<T>(outRow);
  bool const isPastCaches = traffic.isPastCaches && countUnaligned(out, HWY_MAX_BYTES) == 0;
  long c = 0;
  for (; c + L <= count; c += L) {
    if (traffic.row) prefetch<T>(traffic, c, L);
    auto value = hn::LoadU(d, row + c);
    if (!isFirst) value = fold<P>(hn::LoadU(d, prefix + c), value);
    hn::StoreU(value, d, prefix + c);
    auto const result = fold<P>(hn::LoadU(d, suffix + c), value);
    if (isPastCaches)
      store<true>(result, d, out + c);
    else
      store<false>(result, d, out + c);
  }
  for (; c < count; ++c) {  // nothing may be folded twice into the prefix, so that no vectors overlap
    T value = row[c];
    if (!isFirst) value = foldOne<P>(prefix[c], value);
    prefix[c] = value;
    out[c] = foldOne<P>(suffix[c], value);
  }
}

template <class T>
constexpr bool cIsReal = static_cast<T>(0.5) != T{0};

template <class T>
HWY_INLINE bool isSpecial(T value) {
  return value != value || (value == T{0} && __builtin_signbit(static_cast<double>(value)));
}

template <class T>
HWY_NOINLINE bool hasSpecialReals(char const* chars, long count) {
  if constexpr (!cIsReal<T>) {
    return false;
  } else {
    T const* const row = at<T>(chars);
    Wide<T> const d;
    hn::RebindToUnsigned<Wide<T>> const du;
    constexpr long L = lanesOf<T>();
    auto const minusZero = hn::BitCast(du, hn::Set(d, static_cast<T>(-0.0)));
    auto found = hn::IsNaN(hn::Zero(d));
    long c = 0;
    for (; c + L <= count; c += L) {
      auto const v = hn::LoadU(d, row + c);
      found = hn::Or(found, hn::Or(hn::IsNaN(v), hn::RebindMask(d, hn::Eq(hn::BitCast(du, v), minusZero))));
    }
    bool isFound = !hn::AllFalse(d, found);
    for (; c < count; ++c) isFound = isFound || isSpecial(row[c]);
    return isFound;
  }
}

template <Polarities P, class T>
void fillNeutral(char* row, long count) {
  for (long c = 0; c < count; ++c) at<T>(row)[c] = cNeutral<P, T>;
}

}  // namespace pxl::wide::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#include "wide/ColumnWindows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pxl::wide::HWY_NAMESPACE {

template <Polarities P, class T>
constexpr RowKernels makeRowKernels() {
  return {foldTaps<P, T>,     foldRowsAtOnce<P, T>,
          foldBlockRow<P, T>, foldColumnsAtOnce<P, T>,
          hasSpecialReals<T>, fillNeutral<P, T>,
          hwy::FlushStream,   static_cast<long>(sizeof(T)),
          lanesOf<T>(),       cLimits<T>};
}

/** By polarity. */
template <class T>
RowKernels const* kernelsOf(Polarities polarity) {
  static constexpr RowKernels cDilation = makeRowKernels<Polarities::cDilation, T>();
  static constexpr RowKernels cErosion = makeRowKernels<Polarities::cErosion, T>();
  return polarity == Polarities::cDilation ? &cDilation : &cErosion;
}

}  // namespace pxl::wide::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
