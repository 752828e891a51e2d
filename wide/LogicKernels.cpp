// Compiled once for each target, see hwy/foreach_target.h.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "wide/LogicKernels.cpp"
#include <hwy/foreach_target.h>
// after it
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "pxl/point_operations/LogicalOperation.h"
#include "wide/LogicKernels.h"

HWY_BEFORE_NAMESPACE();
namespace pxl::wide::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using namespace pxl::point_operations;

using Byte = unsigned char;

template <int logicalOperator, class V>
HWY_INLINE V combine(V a, V b) {
  switch (logicalOperator) {
    case cLogicalAnd:
      return hn::And(a, b);
    case cLogicalOr:
      return hn::Or(a, b);
    case cLogicalXor:
      return hn::Xor(a, b);
    case cLogicalNand:
      return hn::Not(hn::And(a, b));
    case cLogicalNor:
      return hn::Not(hn::Or(a, b));
    case cLogicalNxor:
      return hn::Not(hn::Xor(a, b));
    default:
      return hn::AndNot(b, a);
  }
}

/** Vectors from `at` on, as many as there are. @return the first byte that is left */
template <int logicalOperator, bool isWithValue, bool isPastCaches, class D>
HWY_INLINE long combineVectors(D d, LogicRows const& rows, char const* a, char const* b, char* out, long at) {
  constexpr long L = static_cast<long>(hn::MaxLanes(D()));
  auto const value = hn::BitCast(d, hn::Set(hn::Repartition<unsigned long, D>(), rows.value));
  auto const load = [d](char const* from) { return hn::LoadU(d, reinterpret_cast<Byte const*>(from)); };
  for (; at + L <= rows.nbBytes; at += L) {
    auto const result = combine<logicalOperator>(load(a + at), isWithValue ? value : load(b + at));
    if (isPastCaches)
      hn::Stream(result, d, reinterpret_cast<Byte*>(out + at));
    else
      hn::StoreU(result, d, reinterpret_cast<Byte*>(out + at));
  }
  return at;
}

/** Single bytes. Nothing may be computed twice: the result may stand on its image. */
template <int logicalOperator, bool isWithValue>
HWY_INLINE void combineBytes(LogicRows const& rows, char const* a, char const* b, char* out, long begin, long end) {
  hn::CappedTag<Byte, 1> const d;
  for (long i = begin; i < end; ++i) {
    Byte const operand =
        isWithValue ? static_cast<Byte>(rows.value >> (i % 8 * 8)) : reinterpret_cast<Byte const*>(b)[i];
    auto const result =
        combine<logicalOperator>(hn::Set(d, reinterpret_cast<Byte const*>(a)[i]), hn::Set(d, operand));
    reinterpret_cast<Byte*>(out)[i] = hn::GetLane(result);
  }
}

template <int logicalOperator, bool isWithValue>
void combineRows(LogicRows const& rows) {
  hn::ScalableTag<Byte> const wide;
  hn::FixedTag<Byte, 16> const narrow;
  constexpr long L = static_cast<long>(hn::MaxLanes(hn::ScalableTag<Byte>()));
  for (long row = 0; row < rows.nbRows; ++row) {
    char const* const a = rows.a + row * rows.strideOfA;
    char const* const b = isWithValue ? nullptr : rows.b + row * rows.strideOfB;
    char* const out = rows.out + row * rows.strideOfOut;
    long at = 0;
    long const nbBefore = (L - static_cast<long>(reinterpret_cast<unsigned long>(out) % L)) % L;
    // A row that isn't aligned to the period of the value is rare, and needn't be fast.
    if (rows.isPastCaches && nbBefore % 8 == 0 && nbBefore + L <= rows.nbBytes) {
      combineBytes<logicalOperator, isWithValue>(rows, a, b, out, 0, nbBefore);
      at = combineVectors<logicalOperator, isWithValue, true>(wide, rows, a, b, out, nbBefore);
    }
    at = combineVectors<logicalOperator, isWithValue, false>(wide, rows, a, b, out, at);
    if (L > 16) at = combineVectors<logicalOperator, isWithValue, false>(narrow, rows, a, b, out, at);
    combineBytes<logicalOperator, isWithValue>(rows, a, b, out, at, rows.nbBytes);
  }
  if (rows.isPastCaches) hwy::FlushStream();
}

template <int logicalOperator>
LogicKernel kernelOf(bool isWithValue) {
  return isWithValue ? combineRows<logicalOperator, true> : combineRows<logicalOperator, false>;
}

LogicKernel getLogicKernel(int logicalOperator, bool isWithValue) {
  switch (logicalOperator) {
    case cLogicalAnd:
      return kernelOf<cLogicalAnd>(isWithValue);
    case cLogicalOr:
      return kernelOf<cLogicalOr>(isWithValue);
    case cLogicalXor:
      return kernelOf<cLogicalXor>(isWithValue);
    case cLogicalNand:
      return kernelOf<cLogicalNand>(isWithValue);
    case cLogicalNor:
      return kernelOf<cLogicalNor>(isWithValue);
    case cLogicalNxor:
      return kernelOf<cLogicalNxor>(isWithValue);
    default:
      return kernelOf<cLogicalAndNot>(isWithValue);
  }
}

}  // namespace pxl::wide::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "wide/TargetTable.h"
namespace pxl::wide {
LogicKernel getLogicKernel(Targets target, int logicalOperator, bool isWithValue) {
  return PXL_WIDE_OF_TARGET(target, getLogicKernel(logicalOperator, isWithValue));
}
}  // namespace pxl::wide
#endif
