#pragma once

#include <tbb/blocked_range2d.h>
#include <tbb/parallel_for.h>

#include <algorithm>
#include <vector>

#include "Core/private/Access/simd/AlignedAllocator.h"
#include "Core/private/Access/simd/SimdVec.h"
#include "Images.h"
#include "RealRows.h"
#include "RowCopies.h"
#include "pxl/kernel/Offsets.h"

namespace bench {

/** Offsets within `reach` in all dimensions, and their coefficients. */
struct Taps {
  std::vector<pxl::kernel::Offset3D> offsets;
  std::vector<double> coefficients;
  long reach;
  long planReach;
};

/**
 * A baseline: a correlation directly on the memory of an image whose rows are whole vectors. It is a lower bound for
 * one that converts each source row as it is copied into a ring, and each result row as it is copied out. The ring
 * holds planes of a tile of rows, or rows in an image of one plan. No views, borders, progress or cancel.
 */
template <class T>
class IdealFir {
 public:
  IdealFir(ImagePointer input, ImagePointer output, Taps taps)
      : m_input(input),
        m_output(output),
        m_taps(std::move(taps)),
        m_coefficients(m_taps.coefficients.begin(), m_taps.coefficients.end()),
        m_nbCols(static_cast<long>(input->getNumOf(pxl::cColumns))),
        m_nbRows(static_cast<long>(input->getNumOf(pxl::cRows))),
        m_nbPlans(static_cast<long>(input->getNumOf(pxl::cPlans))) {}

  void operator()() const {
    // One plan is split into bands, with a ring of rows.
    bool const isPlan = m_nbPlans == 1;
    tbb::blocked_range2d<long> const all(0, m_nbPlans, 64, 0, m_nbRows, isPlan ? 64 : 32);
    tbb::parallel_for(all, [&](auto const& tile) {
      if (isPlan)
        runBand(tile.cols().begin(), tile.cols().end());
      else
        runTile(tile.rows().begin(), tile.rows().end(), tile.cols().begin(), tile.cols().end());
    });
  }

 private:
  using R = Real<T>;
  using Vec = pxl::SimdVec::Simd<R, pxl::SimdVec::arch_128_tag>;
  static constexpr long L = Vec::cNbLanes;
  using Buffer = std::vector<R, pxl::SimdVec::AlignedAllocator<R, 16>>;
  using Pointers = std::vector<R const*>;

  void runBand(long firstRow, long endRow) const {
    long const nbInRing = 2 * m_taps.reach + 1;
    std::vector<Buffer> ring = makeRows(nbInRing);
    Buffer result(index(m_nbCols));
    Pointers neighbours(m_taps.offsets.size());
    auto const slotOf = [&](long row) -> Buffer& { return ring[index((row + nbInRing) % nbInRing)]; };
    for (long row = firstRow - m_taps.reach; row < firstRow + m_taps.reach; ++row) read(0, row, slotOf(row));
    for (long row = firstRow; row < endRow; ++row) {
      read(0, row + m_taps.reach, slotOf(row + m_taps.reach));
      for (std::size_t k = 0; k < neighbours.size(); ++k)
        neighbours[k] = slotOf(row + m_taps.offsets[k].row).data() + m_taps.offsets[k].col + m_taps.reach;
      write(0, row, neighbours, result);
    }
  }

  void runTile(long firstPlan, long endPlan, long firstRow, long endRow) const {
    long const nbInRing = 2 * m_taps.planReach + 1;
    long const reach = m_taps.reach;
    std::vector<std::vector<Buffer>> ring(index(nbInRing));
    for (auto& plane : ring) plane = makeRows(endRow - firstRow + 2 * reach);
    Buffer result(index(m_nbCols));
    Pointers neighbours(m_taps.offsets.size());
    auto const planeOf = [&](long plan) -> std::vector<Buffer>& { return ring[index((plan + nbInRing) % nbInRing)]; };
    auto const readPlane = [&](long plan) {
      for (long row = firstRow - reach; row < endRow + reach; ++row)
        read(plan, row, planeOf(plan)[index(row - firstRow + reach)]);
    };
    for (long plan = firstPlan - m_taps.planReach; plan < firstPlan + m_taps.planReach; ++plan) readPlane(plan);
    for (long plan = firstPlan; plan < endPlan; ++plan) {
      readPlane(plan + m_taps.planReach);
      for (long row = firstRow; row < endRow; ++row) {
        for (std::size_t k = 0; k < neighbours.size(); ++k) {
          auto const& offset = m_taps.offsets[k];
          Buffer const& source = planeOf(plan + offset.plan)[index(row + offset.row - firstRow + reach)];
          neighbours[k] = source.data() + offset.col + reach;
        }
        write(plan, row, neighbours, result);
      }
    }
  }

  static std::size_t index(long value) { return static_cast<std::size_t>(value); }
  static long mirror(long i, long n) { return i < 0 ? -i : i >= n ? 2 * (n - 1) - i : i; }
  std::vector<Buffer> makeRows(long count) const {
    return std::vector<Buffer>(index(count), Buffer(index(m_nbCols + 2 * m_taps.reach)));
  }
  long placeOf(long plan, long row) const { return (plan * m_nbRows + row) * m_nbCols; }

  void read(long plan, long row, Buffer& buffer) const {
    T const* const source = getVoxels<T>(m_input) + placeOf(mirror(plan, m_nbPlans), mirror(row, m_nbRows));
    R* const first = buffer.data() + m_taps.reach;
    convertRowIn(source, first, m_nbCols);
    prefetchRow<0>(source + m_nbCols, m_nbCols);
    for (long i = 1; i <= m_taps.reach; ++i) {
      first[-i] = first[i];
      first[m_nbCols - 1 + i] = first[m_nbCols - 1 - i];
    }
  }

  void write(long plan, long row, Pointers const& neighbours, Buffer& result) const {
    compute(neighbours.data(), m_coefficients.data(), neighbours.size(), result.data(), m_nbCols);
    T* const target = static_cast<T*>(m_output->getVoxels()) + placeOf(plan, row);
    convertRowOut(result.data(), target, m_nbCols);
    prefetchRow<1>(target + m_nbCols, m_nbCols);
  }

  [[gnu::noinline]] static void compute(R const* const* neighbours, R const* coefficients, std::size_t nbTaps, R* out,
                                        long nbCols) {
    constexpr int cNbAtOnce = 8;
    for (long col = 0; col < nbCols; col += cNbAtOnce * L) {
      typename Vec::Vector sums[cNbAtOnce];
      R const* voxels = neighbours[0] + col;
      auto coefficient = Vec::broadcast(coefficients[0]);
      for (int i = 0; i < cNbAtOnce; ++i) sums[i] = Vec::multiply(Vec::load(voxels + i * L), coefficient);
      for (std::size_t k = 1; k < nbTaps; ++k) {
        voxels = neighbours[k] + col;
        coefficient = Vec::broadcast(coefficients[k]);
        for (int i = 0; i < cNbAtOnce; ++i)
          sums[i] = Vec::add(sums[i], Vec::multiply(Vec::load(voxels + i * L), coefficient));
      }
      for (int i = 0; i < cNbAtOnce; ++i) Vec::store(out + col + i * L, sums[i]);
    }
  }

  ImagePointer m_input;
  ImagePointer m_output;
  Taps m_taps;
  std::vector<R> m_coefficients;
  long m_nbCols;
  long m_nbRows;
  long m_nbPlans;
};

}  // namespace bench
