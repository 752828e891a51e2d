// Windows along rows in registers, with AVX-512. Included by RowKernels-inl.h, once for each target.
#if defined(PXLWORKS_WIDE_COLUMN_WINDOWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PXLWORKS_WIDE_COLUMN_WINDOWS_INL_H
#undef PXLWORKS_WIDE_COLUMN_WINDOWS_INL_H
#else
#define PXLWORKS_WIDE_COLUMN_WINDOWS_INL_H
#endif

HWY_BEFORE_NAMESPACE();
namespace pxl::wide::HWY_NAMESPACE {

#if HWY_TARGET == HWY_AVX3

constexpr int cMaxNbLevels = 8;

/** A window as a few shifted loads, and then folds with itself, shifted by up to a vector each. */
struct WindowLevels {
  long nbLoads;
  int nbLevels;
  int shifts[cMaxNbLevels + 1];  ///< 32-bit units; 0 from nbLevels on
};

/** Voxels that a shift moves by at least. */
template <class T>
constexpr long cUnit = sizeof(T) < 4 ? 4 / static_cast<long>(sizeof(T)) : 1;

template <class T>
HWY_INLINE WindowLevels makeLevels(long length) {
  constexpr long cSize = static_cast<long>(sizeof(T));
  constexpr long cVector = HWY_MAX_BYTES / cSize;
  WindowLevels levels{cUnit<T> + length % cUnit<T>, 0, {}};
  for (long reached = levels.nbLoads; reached < length;) {
    long shift = reached / cUnit<T> * cUnit<T>;
    if (shift > length - reached) shift = length - reached;
    if (shift > cVector) shift = cVector;
    levels.shifts[levels.nbLevels++] = static_cast<int>(shift * cSize / 4);
    reached += shift;
  }
  return levels;
}

/**
 * Each level works on the vectors of the level before as they come, one behind it. A permutation of 32-bit units by a
 * register takes one cycle; Highway 1.0 has none of two vectors.
 */
template <Polarities P, class T, int nbLevels>
class Levels {
 public:
  using V = hn::Vec<Wide<T>>;
  using Units = hn::ScalableTag<int>;

  HWY_INLINE explicit Levels(int const* shifts)
      : m_indices(hn::Add(hn::Iota(Units(), 0), hn::Set(Units(), *shifts))),
        m_before(hn::Zero(Wide<T>())),
        m_next(shifts + 1) {}

  HWY_INLINE V step(V v) {
    V const before = m_before;
    m_before = v;
    hn::Vec<Units> const shifted{
        _mm512_permutex2var_epi32(hn::BitCast(Units(), before).raw, m_indices.raw, hn::BitCast(Units(), v).raw)};
    return m_next.step(fold<P>(before, hn::BitCast(Wide<T>(), shifted)));
  }

 private:
  hn::Vec<Units> m_indices;
  V m_before;
  Levels<P, T, nbLevels - 1> m_next;  ///< no array: the compiler would keep it in memory
};

template <Polarities P, class T>
class Levels<P, T, 0> {
 public:
  HWY_INLINE explicit Levels(int const*) {}
  template <class V>
  HWY_INLINE V step(V v) {
    return v;
  }
};

template <Polarities P, class T, int nbLevels>
HWY_NOINLINE void foldLevels(WindowLevels const& levels, T const* row, T* out, long count,
                             RowKernels::Traffic const& traffic) {
  Wide<T> const d;
  using V = hn::Vec<Wide<T>>;
  constexpr long L = lanesOf<T>();
  Levels<P, T, nbLevels> steps(levels.shifts);
  long const nbLoads = levels.nbLoads, lag = nbLevels * L;
  auto const next = [&](T const* from) HWY_ATTR {
    V v = hn::LoadU(d, from);
#pragma GCC unroll 4
    for (long i = 1; i < cUnit<T>; ++i) v = fold<P>(v, hn::LoadU(d, from + i));
    for (long i = cUnit<T>; i < nbLoads; ++i) v = fold<P>(v, hn::LoadU(d, from + i));
    return steps.step(v);
  };
  // Of the results of a vector those within the row.
  auto const storePart = [&](V v, long at) HWY_ATTR {
    // Highway's FirstN takes an instruction that AVX-512 doesn't imply.
    unsigned long const after = at + L <= count ? 0 : static_cast<unsigned long>(at + L - count);
    unsigned long const bits = (~0UL >> (64 - L) >> after) & (~0UL << (at < 0 ? -at : 0));
    hn::BlendedStore(v, hn::LoadMaskBits(d, reinterpret_cast<unsigned char const*>(&bits)), d, out + at);
  };
  // From the last multiple of the vector's size before the row.
  long const unaligned = countUnaligned(out, HWY_MAX_BYTES), first = unaligned > 0 ? unaligned - L : 0;
  long c = first;
  for (; c < first + lag; c += L) next(row + c);
  for (long at = first; at < count; at += L, c += L) {
    if (traffic.row) prefetch<T>(traffic, at < 0 ? 0 : at, L);
    V const v = next(row + c);
    if (at < 0 || at + L > count)
      storePart(v, at);
    else if (traffic.isPastCaches)
      store<true>(v, d, out + at);
    else
      store<false>(v, d, out + at);
  }
}

template <Polarities P, class T>
void foldColumnsAtOnce(char const* row, long rowStride, long length, char* out, long outStride, long nbRows,
                       long count, RowKernels::Traffic const& ofFirst) {
  RowKernels::Traffic traffic = ofFirst;
  WindowLevels const levels = makeLevels<T>(length);
  auto const foldOneRow = levels.nbLevels <= 1   ? foldLevels<P, T, 1>
                          : levels.nbLevels <= 3 ? foldLevels<P, T, 3>
                          : levels.nbLevels <= 5 ? foldLevels<P, T, 5>
                                                 : foldLevels<P, T, cMaxNbLevels>;
  for (long i = 0; i < nbRows; ++i) {
    foldOneRow(levels, at<T>(row), at<T>(out), count, traffic);
    row += rowStride;
    out += outStride;
    if (traffic.row) traffic.row += traffic.stride;
  }
}

/** Four levels, three of 64 bits, reach a vector, and each other one a vector more. */
template <class T>
constexpr WindowLimits cLimits{(sizeof(T) == 8 ? 6 : 5) * lanesOf<T>(), 24};

#else

// Without a permutation of two vectors, shifted loads are as fast.
template <Polarities, class T>
constexpr decltype(RowKernels::foldColumnsAtOnce) foldColumnsAtOnce = nullptr;
template <class T>
constexpr WindowLimits cLimits{};

#endif

}  // namespace pxl::wide::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
