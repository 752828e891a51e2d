// Compiled once for each target, see hwy/foreach_target.h.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "wide/FirKernels.cpp"
#include <hwy/foreach_target.h>
// after it
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "wide/FirKernels.h"
#include "wide/FirVoxels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pxl::wide::HWY_NAMESPACE {

template <class Number>
HWY_INLINE Number const* numbersAt(char const* row) {
  return reinterpret_cast<Number const*>(row);
}

/**
 * sum += product. Where both are NaN, x86 gives the first operand, which has to be the sum as in the other runner;
 * the compiler takes the operands of an addition in any order, so that it isn't asked.
 */
template <class D>
HWY_INLINE void accumulate(hn::Vec<D>& sum, hn::Vec<D> product) {
#if HWY_ARCH_X86 && HWY_TARGET == HWY_SSE4
  if constexpr (sizeof(hn::TFromD<D>) == 4)
    __asm__("addps %1, %0" : "+x"(sum.raw) : "x"(product.raw));
  else
    __asm__("addpd %1, %0" : "+x"(sum.raw) : "x"(product.raw));
#elif HWY_ARCH_X86
  if constexpr (sizeof(hn::TFromD<D>) == 4)
    __asm__("vaddps %1, %0, %0" : "+v"(sum.raw) : "v"(product.raw));
  else
    __asm__("vaddpd %1, %0, %0" : "+v"(sum.raw) : "v"(product.raw));
#else
  sum = hn::Add(sum, product);
#endif
}

/** Adds a product to each sum. None is fused: the multiply-add of a target would round once. */
template <class D, unsigned long nbSums>
HWY_INLINE void addProducts(D d, hn::Vec<D> (&sums)[nbSums], hn::TFromD<D> const* voxels, hn::TFromD<D> coefficient) {
  auto const factor = hn::Set(d, coefficient);
#pragma GCC unroll 8
  for (unsigned long i = 0; i < nbSums; ++i)
    accumulate<D>(sums[i], hn::Mul(hn::LoadU(d, voxels + static_cast<long>(i) * lanesOf<D>()), factor));
}

template <int nbVectors, class D>
HWY_INLINE void sumColumns(D d, char const* const* taps, hn::TFromD<D> const* coefficients, long nbTaps,
                           hn::TFromD<D>* out, long c) {
  using Number = hn::TFromD<D>;
  hn::Vec<D> sums[static_cast<unsigned long>(nbVectors)];
  // Adding a product to -0 gives the product, whatever it is.
#pragma GCC unroll 8
  for (int i = 0; i < nbVectors; ++i) sums[i] = hn::Set(d, static_cast<Number>(-0.));
  for (long k = 0; k < nbTaps; ++k) addProducts(d, sums, numbersAt<Number>(taps[k]) + c, coefficients[k]);
#pragma GCC unroll 8
  for (int i = 0; i < nbVectors; ++i) hn::StoreU(sums[i], d, out + c + i * lanesOf<D>());
}

template <class Number>
void sumTaps(char const* const* taps, void const* coefficients, long nbTaps, char* chars, long begin, long end) {
  hn::ScalableTag<Number> const d;
  constexpr long L = lanesOf<hn::ScalableTag<Number>>();
  Number const* const factors = static_cast<Number const*>(coefficients);
  Number* const out = reinterpret_cast<Number*>(chars);
  long c = begin;
  for (; c + 8 * L <= end; c += 8 * L) sumColumns<8>(d, taps, factors, nbTaps, out, c);
  for (; c + L <= end; c += L) sumColumns<1>(d, taps, factors, nbTaps, out, c);
  if (c < end) sumColumns<1>(d, taps, factors, nbTaps, out, end > L ? end - L : 0);
}

/**
 * Sums of nbResults rows and nbVectors vectors. Each vector that is read serves all results: of results first to
 * first + count - 1, row `row` of the box is the one that result `first` reads with the coefficients at `factors`.
 */
template <class D, int nbResults, int nbVectors>
struct BoxSums {
  using Number = hn::TFromD<D>;
  using V = hn::Vec<D>;
  static constexpr long L = lanesOf<D>();
  static constexpr unsigned long cNbSums = static_cast<unsigned long>(nbResults * nbVectors);

  template <int first, int count>
  static HWY_INLINE void addRow(V (&sums)[cNbSums], Number const* row, Number const* factors, long nbCols) {
    D const d;
    for (long x = 0; x < nbCols; ++x) {
      V voxels[static_cast<unsigned long>(nbVectors)];
#pragma GCC unroll 4
      for (int u = 0; u < nbVectors; ++u) voxels[u] = hn::LoadU(d, row + x + u * L);
#pragma GCC unroll 4
      for (int i = 0; i < count; ++i) {
        V const factor = hn::Set(d, factors[x - i * nbCols]);
#pragma GCC unroll 4
        for (int u = 0; u < nbVectors; ++u)
          accumulate<D>(sums[(first + i) * nbVectors + u], hn::Mul(voxels[u], factor));
      }
    }
  }

  // The rows that not all results read, before and after those that all do.
  template <int index>
  static HWY_INLINE void addFirstRows(V (&sums)[cNbSums], char const* const* rows, Number const* factors, long nbCols,
                                      long c) {
    if constexpr (index < nbResults - 1) {
      addRow<0, index + 1>(sums, numbersAt<Number>(rows[index]) + c, factors + index * nbCols, nbCols);
      addFirstRows<index + 1>(sums, rows, factors, nbCols, c);
    }
  }
  template <int index>
  static HWY_INLINE void addLastRows(V (&sums)[cNbSums], char const* const* rows, Number const* last, long nbCols,
                                     long c) {
    if constexpr (index < nbResults) {
      addRow<index, nbResults - index>(sums, numbersAt<Number>(rows[index - 1]) + c, last, nbCols);
      addLastRows<index + 1>(sums, rows, last, nbCols, c);
    }
  }

  static HWY_INLINE void compute(FirBox const& box, char const* const* rows, char* const* outs, long c,
                                 bool isPastCaches) {
    D const d;
    V sums[cNbSums];
#pragma GCC unroll 16
    for (int i = 0; i < nbResults * nbVectors; ++i) sums[i] = hn::Set(d, static_cast<Number>(-0.));
    Number const* factors = static_cast<Number const*>(box.coefficients);
    long const nbCols = box.nbCols;
    for (long plan = 0; plan < box.nbPlans; ++plan) {
      addFirstRows<0>(sums, rows, factors, nbCols, c);
      for (long row = nbResults - 1; row < box.nbRows; ++row)
        addRow<0, nbResults>(sums, numbersAt<Number>(rows[row]) + c, factors + row * nbCols, nbCols);
      addLastRows<1>(sums, rows + box.nbRows, factors + (box.nbRows - 1) * nbCols, nbCols, c);
      rows += box.nbRows + nbResults - 1;
      factors += box.nbRows * nbCols;
    }
#pragma GCC unroll 4
    for (int i = 0; i < nbResults; ++i) {
      Number* const out = reinterpret_cast<Number*>(outs[i]) + c;
#pragma GCC unroll 4
      for (int u = 0; u < nbVectors; ++u) {
        if (isPastCaches)
          hn::Stream(sums[i * nbVectors + u], d, out + u * L);
        else
          hn::StoreU(sums[i * nbVectors + u], d, out + u * L);
      }
    }
  }
};

// As many sums as there are registers for: 32, or 16 for SSE4.1 and AVX2.
constexpr int cNbBoxVectors = HWY_TARGET == HWY_AVX3 || HWY_ARCH_ARM_A64 ? 4 : 2;

template <class Number, int nbResults>
HWY_NOINLINE void sumBoxOf(FirBox const& box, char const* const* rows, char* const* outs, long begin, long end,
                           bool isPastCaches) {
  using D = hn::ScalableTag<Number>;
  constexpr long L = lanesOf<D>();
  long c = begin;
  for (; c + cNbBoxVectors * L <= end; c += cNbBoxVectors * L)
    BoxSums<D, nbResults, cNbBoxVectors>::compute(box, rows, outs, c, isPastCaches);
  for (; c + L <= end; c += L) BoxSums<D, nbResults, 1>::compute(box, rows, outs, c, false);
  if (c < end) BoxSums<D, nbResults, 1>::compute(box, rows, outs, end > L ? end - L : 0, false);
}

template <class Number>
void sumBox(FirBox const& box, char const* const* rows, char* const* outs, int nbResults, long begin, long end,
            bool isPastCaches) {
  for (int i = 0; i < nbResults; ++i)
    isPastCaches = isPastCaches && reinterpret_cast<unsigned long>(outs[i]) % HWY_MAX_BYTES == 0;
  if (nbResults == 4)
    sumBoxOf<Number, 4>(box, rows, outs, begin, end, isPastCaches);
  else if (nbResults == 3)
    sumBoxOf<Number, 3>(box, rows, outs, begin, end, isPastCaches);
  else
    sumBoxOf<Number, 2>(box, rows, outs, begin, end, isPastCaches);
}

template <class T, class Number>
FirKernels const* kernelsOf() {
  static constexpr FirKernels cKernels{loadVoxels<T, Number>,
                                       storeVoxels<T, Number>,
                                       sumTaps<Number>,
                                       sumBox<Number>,
                                       hwy::FlushStream,
                                       static_cast<long>(sizeof(T)),
                                       static_cast<long>(sizeof(Number)),
                                       lanesOf<hn::ScalableTag<Number>>()};
  return &cKernels;
}

FirKernels const* getFirKernels(VoxelTypes type) {
  switch (type) {
    case cUnsignedInteger8:
      return kernelsOf<unsigned char, float>();
    case cUnsignedInteger16:
      return kernelsOf<unsigned short, float>();
    case cUnsignedInteger32:
      return kernelsOf<unsigned int, double>();
    case cInteger8:
      return kernelsOf<signed char, float>();
    case cInteger16:
      return kernelsOf<short, float>();
    case cInteger32:
      return kernelsOf<int, double>();
    case cFloat:
      return kernelsOf<float, float>();
    case cDouble:
      return kernelsOf<double, double>();
    default:
      return nullptr;
  }
}

}  // namespace pxl::wide::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "wide/TargetTable.h"
namespace pxl::wide {
FirKernels const* getFirKernels(Targets target, VoxelTypes type) {
  return PXL_WIDE_OF_TARGET(target, getFirKernels(type));
}
}  // namespace pxl::wide
#endif
