#pragma once

#include <tbb/blocked_range2d.h>
#include <tbb/parallel_for.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "Core/private/Access/simd/AlignedAllocator.h"
#include "Core/private/Access/simd/SimdVec.h"
#include "Images.h"
#include "RowCopies.h"
#include "pxl/kernel/Offsets.h"

namespace bench {

/**
 * A baseline: a dilation with a list of offsets directly on the memory of an image. It has rings of copied planes for
 * each tile of rows and plans; each source row is copied in once per tile, and each result row out. In images of one
 * plan the rings hold rows. No views, borders, margins, progress or cancel.
 */
template <class T>
class IdealList {
 public:
  IdealList(ImagePointer input, ImagePointer output, std::vector<pxl::kernel::Offset3D> offsets)
      : m_input(input),
        m_output(output),
        m_nbCols(static_cast<long>(input->getNumOf(pxl::cColumns))),
        m_nbRows(static_cast<long>(input->getNumOf(pxl::cRows))),
        m_nbPlans(static_cast<long>(input->getNumOf(pxl::cPlans))),
        m_offsets(std::move(offsets)) {
    pxl::kernel::computeExtrema(m_offsets, m_minCol, m_maxCol, m_minRow, m_maxRow, m_minPlan, m_maxPlan);
  }

  void operator()() const {
    bool const isVolume = m_nbPlans > 1;
    unsigned long const nbRowsPerTile = isVolume ? 64 : 128, nbPlansPerTile = 64;
    tbb::blocked_range2d<long> const all(0, m_nbPlans, nbPlansPerTile, 0, m_nbRows, nbRowsPerTile);
    tbb::parallel_for(all, [this, isVolume](tbb::blocked_range2d<long> const& tile) {
      isVolume ? runPlans(tile.rows().begin(), tile.rows().end(), tile.cols().begin(), tile.cols().end())
               : runRows(tile.cols().begin(), tile.cols().end());
    });
  }

 private:
  using Vec = pxl::SimdVec::Simd<T, pxl::SimdVec::arch_128_tag>;
  static constexpr long L = Vec::cNbLanes;
  using Buffer = std::vector<T, pxl::SimdVec::AlignedAllocator<T, 16>>;
  static constexpr T cLowest = std::numeric_limits<T>::lowest();

  Buffer makeRow() const { return Buffer(static_cast<std::size_t>(m_nbCols - m_minCol + m_maxCol), cLowest); }

  void readRow(long plan, long row, Buffer& buffer) const {
    if (plan < 0 || plan >= m_nbPlans || row < 0 || row >= m_nbRows)
      return std::fill(buffer.begin(), buffer.end(), cLowest);
    copyRowIn(getVoxels<T>(m_input) + (plan * m_nbRows + row) * m_nbCols, buffer.data() - m_minCol, m_nbCols);
  }
  void writeRow(Buffer const& result, long plan, long row) const {
    copyRowOut(result.data(), static_cast<T*>(m_output->getVoxels()) + (plan * m_nbRows + row) * m_nbCols, m_nbCols);
  }

  void runRows(long firstRow, long endRow) const {
    std::size_t const depth = static_cast<std::size_t>(m_maxRow - m_minRow + 1);
    std::vector<Buffer> ring(depth, makeRow());
    std::vector<T const*> pointers(m_offsets.size());
    Buffer result(static_cast<std::size_t>(m_nbCols));
    auto const at = [depth, this](long row) { return static_cast<std::size_t>(row - m_minRow) % depth; };
    for (long row = m_minRow; row < m_maxRow; ++row) readRow(0, firstRow + row, ring[at(row)]);
    for (long row = 0; row < endRow - firstRow; ++row) {
      readRow(0, firstRow + row + m_maxRow, ring[at(row + m_maxRow)]);
      for (std::size_t i = 0; i < pointers.size(); ++i)
        pointers[i] = ring[at(row + m_offsets[i].row)].data() + m_offsets[i].col - m_minCol;
      computeRow(pointers.data(), pointers.data() + pointers.size(), result.data(), m_nbCols);
      writeRow(result, 0, firstRow + row);
    }
  }

  void runPlans(long firstPlan, long endPlan, long firstRow, long endRow) const {
    std::size_t const depth = static_cast<std::size_t>(m_maxPlan - m_minPlan + 1);
    long const height = endRow - firstRow - m_minRow + m_maxRow;
    std::vector<std::vector<Buffer>> ring(depth, std::vector<Buffer>(static_cast<std::size_t>(height), makeRow()));
    std::vector<T const*> pointers(m_offsets.size());
    Buffer result(static_cast<std::size_t>(m_nbCols));
    auto const at = [depth, this](long plan) { return static_cast<std::size_t>(plan - m_minPlan) % depth; };
    auto const read = [&](long plan) {
      for (long row = 0; row < height; ++row)
        readRow(firstPlan + plan, firstRow + m_minRow + row, ring[at(plan)][static_cast<std::size_t>(row)]);
    };
    for (long plan = m_minPlan; plan < m_maxPlan; ++plan) read(plan);
    for (long plan = 0; plan < endPlan - firstPlan; ++plan) {
      read(plan + m_maxPlan);
      for (long row = 0; row < endRow - firstRow; ++row) {
        for (std::size_t i = 0; i < pointers.size(); ++i)
          pointers[i] =
              ring[at(plan + m_offsets[i].plan)][static_cast<std::size_t>(row + m_offsets[i].row - m_minRow)].data() +
              m_offsets[i].col - m_minCol;
        computeRow(pointers.data(), pointers.data() + pointers.size(), result.data(), m_nbCols);
        writeRow(result, firstPlan + plan, firstRow + row);
      }
    }
  }

  [[gnu::noinline]] static void computeRow(T const* const* first, T const* const* end, T* out, long nbCols) {
    long col = 0;
    for (; col + 8 * L <= nbCols; col += 8 * L) compute<8>(first, end, col, out);
    for (; col < nbCols; col += L) compute<1>(first, end, col, out);
  }
  template <int Count>
  [[gnu::always_inline]] static void compute(T const* const* tap, T const* const* end, long col, T* out) {
    typename Vec::Vector v[static_cast<unsigned long>(Count)];
    T const* voxels = *tap + col;
#pragma GCC unroll 8
    for (int i = 0; i < Count; ++i) v[i] = Vec::load(voxels + i * L);
    while (++tap != end) {
      voxels = *tap + col;
#pragma GCC unroll 8
      for (int i = 0; i < Count; ++i) v[i] = Vec::max(v[i], Vec::load(voxels + i * L));
    }
#pragma GCC unroll 8
    for (int i = 0; i < Count; ++i) Vec::store(out + col + i * L, v[i]);
  }

  ImagePointer m_input;
  ImagePointer m_output;
  long m_nbCols;
  long m_nbRows;
  long m_nbPlans;
  std::vector<pxl::kernel::Offset3D> m_offsets;
  long m_minCol, m_maxCol, m_minRow, m_maxRow, m_minPlan, m_maxPlan;
};

}  // namespace bench
