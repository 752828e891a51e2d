// Conversions between voxels and the numbers of weighted sums, once for each target. Included by units that have
// included hwy/foreach_target.h. Nothing of the standard library is used in here.
#if defined(PXLWORKS_WIDE_FIR_VOXELS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PXLWORKS_WIDE_FIR_VOXELS_INL_H
#undef PXLWORKS_WIDE_FIR_VOXELS_INL_H
#else
#define PXLWORKS_WIDE_FIR_VOXELS_INL_H
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace pxl::wide::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <class D>
constexpr long lanesOf() {
  return static_cast<long>(hn::MaxLanes(D()));
}

template <class T>
constexpr bool cIsSigned = T(-1) < T(0);

/** Numbers of voxels; all are exact. */
template <class T, class D>
HWY_INLINE hn::Vec<D> toNumbers(D d, hn::Vec<hn::Rebind<T, D>> voxels) {
  if constexpr (static_cast<T>(0.5) != T{0}) {
    return voxels;
  } else {
    hn::Rebind<int, D> const di;
    if constexpr (sizeof(T) < sizeof(int)) {
      return hn::ConvertTo(d, hn::PromoteTo(di, voxels));
    } else if constexpr (cIsSigned<T>) {
      return hn::PromoteTo(d, voxels);
    } else {
      // With its highest bit inverted a voxel is a signed integer that is too low by 2^31.
      auto const lower = hn::Xor(hn::BitCast(di, voxels), hn::Set(di, hwy::LowestValue<int>()));
      return hn::Add(hn::PromoteTo(d, lower), hn::Set(d, 2147483648.));
    }
  }
}

/** Voxels of numbers: rounded half to even and saturated, 0 for NaN. */
template <class T, class D>
HWY_INLINE hn::Vec<hn::Rebind<T, D>> toVoxels(D d, hn::Vec<D> v) {
  if constexpr (static_cast<T>(0.5) != T{0}) {
    return v;
  } else {
    using Number = hn::TFromD<D>;
    hn::Rebind<int, D> const di;
    hn::Rebind<T, D> const dt;
    v = hn::IfThenElseZero(hn::Eq(v, v), v);
    v = hn::Min(hn::Max(v, hn::Set(d, static_cast<Number>(hwy::LowestValue<T>()))),
                hn::Set(d, static_cast<Number>(hwy::HighestValue<T>())));
    if constexpr (sizeof(T) < sizeof(int)) {
      return hn::DemoteTo(dt, hn::NearestInt(v));
    } else {
      // Adding 1.5 * 2^52 rounds to an integer: the sum has no fraction bits.
      auto const large = hn::Set(d, 6755399441055744.);
      auto const rounded = hn::Sub(hn::Add(v, large), large);
      if constexpr (cIsSigned<T>) {
        return hn::DemoteTo(dt, rounded);
      } else {
        auto const lower = hn::DemoteTo(di, hn::Sub(rounded, hn::Set(d, 2147483648.)));
        return hn::BitCast(dt, hn::Xor(lower, hn::Set(di, hwy::LowestValue<int>())));
      }
    }
  }
}

template <class T, class Number>
void loadVoxels(char const* chars, char* out, long count) {
  hn::ScalableTag<Number> const d;
  hn::Rebind<T, hn::ScalableTag<Number>> const dt;
  constexpr long L = lanesOf<hn::ScalableTag<Number>>();
  T const* const voxels = reinterpret_cast<T const*>(chars);
  Number* const numbers = reinterpret_cast<Number*>(out);
  long c = 0;
  for (; c + L <= count; c += L) hn::StoreU(toNumbers<T>(d, hn::LoadU(dt, voxels + c)), d, numbers + c);
  if (c == count) return;
  if (count >= L)
    hn::StoreU(toNumbers<T>(d, hn::LoadU(dt, voxels + count - L)), d, numbers + count - L);
  else
    for (; c < count; ++c) numbers[c] = static_cast<Number>(voxels[c]);
}

template <class T, class Number>
void storeVoxels(char const* chars, char* out, long count) {
  hn::ScalableTag<Number> const d;
  hn::Rebind<T, hn::ScalableTag<Number>> const dt;
  constexpr long L = lanesOf<hn::ScalableTag<Number>>();
  Number const* const numbers = reinterpret_cast<Number const*>(chars);
  T* const voxels = reinterpret_cast<T*>(out);
  long c = 0;
  for (; c + L <= count; c += L) hn::StoreU(toVoxels<T>(d, hn::LoadU(d, numbers + c)), dt, voxels + c);
  if (c == count) return;
  T rest[static_cast<unsigned long>(L)];
  hn::StoreU(toVoxels<T>(d, hn::LoadU(d, numbers + c)), dt, rest);
  for (long i = 0; c < count; ++c, ++i) voxels[c] = rest[i];
}

}  // namespace pxl::wide::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
