// Compiled once for each target, see hwy/foreach_target.h.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "wide/ExtremaKernels.cpp"
#include <hwy/foreach_target.h>
// after it
#include <hwy/highway.h>

#include "wide/ExtremaKernels.h"

HWY_BEFORE_NAMESPACE();
namespace pxl::wide::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <class T>
constexpr bool cIsReal = static_cast<T>(0.5) != T{0};

template <class V>
HWY_INLINE V selectLess(V a, V b) {
  // a < b ? a : b, so that the second operand survives a NaN in the first one; x86 has that as its minimum.
#if HWY_ARCH_X86
  return hn::Min(a, b);
#else
  return hn::IfThenElse(hn::Lt(a, b), a, b);
#endif
}

template <class V>
HWY_INLINE V selectGreater(V a, V b) {
#if HWY_ARCH_X86
  return hn::Max(a, b);
#else
  return hn::IfThenElse(hn::Gt(a, b), a, b);
#endif
}

/** The extrema of each lane. */
template <class T>
struct LaneExtrema {
  using D = hn::ScalableTag<T>;
  static constexpr long L = static_cast<long>(HWY_MAX_BYTES / sizeof(T));

  hn::Vec<D> low;
  hn::Vec<D> high;

  HWY_INLINE LaneExtrema() : low(hn::Set(D(), hwy::HighestValue<T>())), high(hn::Set(D(), hwy::LowestValue<T>())) {}
  HWY_INLINE void take(hn::Vec<D> v) {
    low = selectLess(v, low);
    high = selectGreater(v, high);
  }
  HWY_INLINE void take(LaneExtrema const& other) {
    low = selectLess(other.low, low);
    high = selectGreater(other.high, high);
  }
};

// Whether zeros of both signs occur is asked of few pieces, which are still in the cache.
template <class T>
void findZeros(char const* rows, long stride, long nbRows, long nbVoxels, Extrema& extrema) {
  hn::ScalableTag<T> const d;
  hn::RebindToUnsigned<hn::ScalableTag<T>> const du;
  constexpr long L = LaneExtrema<T>::L;
  auto const minusZero = hn::BitCast(du, hn::Set(d, static_cast<T>(-0.0)));
  auto const plusZero = hn::Zero(du);
  for (long r = 0; r < nbRows; ++r) {
    T const* const row = reinterpret_cast<T const*>(rows + r * stride);
    auto isMinus = hn::Ne(plusZero, plusZero), isPlus = isMinus;
    long c = 0;
    for (; c + L <= nbVoxels; c += L) {
      auto const bits = hn::BitCast(du, hn::LoadU(d, row + c));
      isMinus = hn::Or(isMinus, hn::Eq(bits, minusZero));
      isPlus = hn::Or(isPlus, hn::Eq(bits, plusZero));
    }
    extrema.hasMinusZero = extrema.hasMinusZero || !hn::AllFalse(du, isMinus);
    extrema.hasPlusZero = extrema.hasPlusZero || !hn::AllFalse(du, isPlus);
    for (; c < nbVoxels; ++c) {
      bool const isNegative = __builtin_signbit(static_cast<double>(row[c]));
      if (row[c] == T{0}) (isNegative ? extrema.hasMinusZero : extrema.hasPlusZero) = true;
    }
  }
}

template <class T>
constexpr Extrema cNone{static_cast<double>(hwy::HighestValue<T>()), static_cast<double>(hwy::LowestValue<T>()),
                        false, false, false};

template <class T>
Extrema scan(char const* rows, long stride, long nbRows, long nbVoxels) {
  using Lanes = LaneExtrema<T>;
  typename Lanes::D const d;
  constexpr long L = Lanes::L;
  Lanes of0, of1, of2, of3;
  auto isNaN = hn::Ne(hn::Zero(d), hn::Zero(d));
  auto const load = [&](T const* from) {
    auto const v = hn::LoadU(d, from);
    if constexpr (cIsReal<T>) isNaN = hn::Or(isNaN, hn::IsNaN(v));
    return v;
  };
  Extrema extrema = cNone<T>;
  T low = hwy::HighestValue<T>(), high = hwy::LowestValue<T>();
  auto const take = [&](T voxel) {
    extrema.hasNaN = extrema.hasNaN || voxel != voxel;
    low = voxel < low ? voxel : low;
    high = voxel > high ? voxel : high;
  };
  for (long r = 0; r < nbRows; ++r) {
    T const* const row = reinterpret_cast<T const*>(rows + r * stride);
    long c = 0;
    for (; c + 4 * L <= nbVoxels; c += 4 * L) {
      of0.take(load(row + c));
      of1.take(load(row + c + L));
      of2.take(load(row + c + 2 * L));
      of3.take(load(row + c + 3 * L));
    }
    for (; c + L <= nbVoxels; c += L) of0.take(load(row + c));
    // The last vector overlaps the one before it.
    if (c < nbVoxels && nbVoxels >= L)
      of1.take(load(row + nbVoxels - L));
    else
      for (; c < nbVoxels; ++c) take(row[c]);
  }
  of0.take(of1);
  of2.take(of3);
  of0.take(of2);
  alignas(64) T lows[static_cast<unsigned long>(L)], highs[static_cast<unsigned long>(L)];
  hn::Store(of0.low, d, lows);
  hn::Store(of0.high, d, highs);
  for (long i = 0; i < L; ++i) {
    low = lows[i] < low ? lows[i] : low;
    high = highs[i] > high ? highs[i] : high;
  }
  extrema.minimum = static_cast<double>(low);
  extrema.maximum = static_cast<double>(high);
  extrema.hasNaN = extrema.hasNaN || !hn::AllFalse(d, isNaN);
  if (cIsReal<T> && (low == T{0} || high == T{0})) findZeros<T>(rows, stride, nbRows, nbVoxels, extrema);
  return extrema;
}

template <class T>
ExtremaKernel const* kernelOf() {
  static constexpr ExtremaKernel cKernel{cNone<T>, !cIsReal<T>, scan<T>};
  return &cKernel;
}

ExtremaKernel const* getExtremaKernel(VoxelTypes type) {
  switch (type) {
    case cUnsignedInteger8:
      return kernelOf<unsigned char>();
    case cUnsignedInteger16:
      return kernelOf<unsigned short>();
    case cUnsignedInteger32:
      return kernelOf<unsigned int>();
    case cInteger8:
      return kernelOf<signed char>();
    case cInteger16:
      return kernelOf<short>();
    case cInteger32:
      return kernelOf<int>();
    case cFloat:
      return kernelOf<float>();
    case cDouble:
      return kernelOf<double>();
    default:
      return nullptr;
  }
}

}  // namespace pxl::wide::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "wide/TargetTable.h"
namespace pxl::wide {
ExtremaKernel const* getExtremaKernel(Targets target, VoxelTypes type) {
  return PXL_WIDE_OF_TARGET(target, getExtremaKernel(type));
}
}  // namespace pxl::wide
#endif
