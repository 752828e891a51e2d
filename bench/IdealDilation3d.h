#pragma once

#include <tbb/blocked_range2d.h>
#include <tbb/parallel_for.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include "ContractRows.h"
#include "Core/private/Access/simd/AlignedAllocator.h"
#include "Core/private/Access/simd/SimdVec.h"
#include "Images.h"
#include "RowCopies.h"

namespace bench {

/**
 * A baseline: a dilation directly on the memory of a volume, with rings of three copied planes for each tile of rows
 * and plans. It is a lower bound for a pass that copies each source row in and each result row out. `cNeighborhood` 0
 * is the six faces, 1 faces and edges, 2 the cube. No views, borders, margins, progress or cancel. With
 * `cIsByContract` rows are read and written through the contract.
 */
template <class T, int cNeighborhood, bool cIsByContract>
class IdealDilation3d {
 public:
  IdealDilation3d(ImagePointer input, ImagePointer output, unsigned int nbIterations)
      : m_input(input),
        m_output(output),
        m_nbCols(static_cast<long>(input->getNumOf(pxl::cColumns))),
        m_nbRows(static_cast<long>(input->getNumOf(pxl::cRows))),
        m_nbPlans(static_cast<long>(input->getNumOf(pxl::cPlans))),
        m_nbIterations(nbIterations),
        m_temporary(static_cast<std::size_t>(nbIterations > 1 ? m_nbCols * m_nbRows * m_nbPlans : 0)),
        m_inputRows(input, cLowest),
        m_outputRows(output, cLowest) {}

  void operator()() {
    T const* source = getVoxels<T>(m_input);
    T* const output = static_cast<T*>(m_output->getVoxels());
    bool toTemporary = m_nbIterations % 2 == 0;
    for (unsigned int i = 0; i < m_nbIterations; ++i) {
      T* const target = toTemporary ? m_temporary.data() : output;
      runPass(source, target);
      source = target;
      toTemporary = !toTemporary;
    }
  }

 private:
  using Vec = pxl::SimdVec::Simd<T, pxl::SimdVec::arch_128_tag>;
  using Vector = typename Vec::Vector;
  static constexpr long L = Vec::cNbLanes;
  using Buffer = std::vector<T, pxl::SimdVec::AlignedAllocator<T, 16>>;
  using Plane = std::vector<Buffer>;
  static constexpr long cNbRowsPerTile = 64;
  static constexpr long cNbPlansPerTile = 64;

  void runPass(T const* source, T* target) const {
    tbb::blocked_range2d<long> const all(0, m_nbPlans, cNbPlansPerTile, 0, m_nbRows, cNbRowsPerTile);
    tbb::parallel_for(all, [&](tbb::blocked_range2d<long> const& tile) {
      long const firstRow = tile.cols().begin(), nbRows = tile.cols().end() - firstRow;
      Plane planes[3];
      for (Plane& plane : planes)
        plane.assign(static_cast<std::size_t>(nbRows + 2), Buffer(static_cast<std::size_t>(m_nbCols + 2), cLowest));
      Buffer memos[2], result(static_cast<std::size_t>(m_nbCols));
      for (Buffer& memo : memos) memo.resize(static_cast<std::size_t>(m_nbCols));
      auto const read = [&](long plan, Plane& plane) {
        for (long i = 0; i < nbRows + 2; ++i)
          readRow(source, plan, firstRow - 1 + i, plane[static_cast<std::size_t>(i)]);
      };
      Plane *before = &planes[0], *current = &planes[1], *after = &planes[2];
      read(tile.rows().begin() - 1, *before);
      read(tile.rows().begin(), *current);
      for (long plan = tile.rows().begin(); plan < tile.rows().end(); ++plan) {
        read(plan + 1, *after);
        auto const rowsAt = [&](long i) {
          std::size_t const k = static_cast<std::size_t>(i);
          return Rows{(*before)[k].data(), (*current)[k].data(), (*after)[k].data()};
        };
        T *older = memos[0].data(), *newer = memos[1].data();
        if (cNeighborhood == 2) {
          reduce(rowsAt(0), older, m_nbCols);
          reduce(rowsAt(1), newer, m_nbCols);
        }
        for (long row = 0; row < nbRows; ++row) {
          if (cNeighborhood == 0)
            computeFaces(rowsAt(row), rowsAt(row + 1), rowsAt(row + 2), result.data(), m_nbCols);
          if (cNeighborhood == 1)
            computeEdges(rowsAt(row), rowsAt(row + 1), rowsAt(row + 2), result.data(), m_nbCols);
          if (cNeighborhood == 2) computeCube(rowsAt(row + 2), older, newer, result.data(), m_nbCols);
          std::swap(older, newer);
          if (cIsByContract)
            m_outputRows.write(result.data(), m_nbCols, firstRow + row, plan);
          else
            copyRowOut(result.data(), target + (plan * m_nbRows + firstRow + row) * m_nbCols, m_nbCols);
        }
        Plane* const oldest = before;
        before = current;
        current = after;
        after = oldest;
      }
    });
  }

  struct Rows {
    T const* before;
    T const* current;
    T const* after;
  };

  void readRow(T const* source, long plan, long row, Buffer& buffer) const {
    if (cIsByContract) return m_inputRows.read(buffer.data(), m_nbCols + 2, -1, row, plan);
    if (plan < 0 || plan >= m_nbPlans || row < 0 || row >= m_nbRows) {
      std::fill(buffer.begin(), buffer.end(), cLowest);
      return;
    }
    T const* const from = source + (plan * m_nbRows + row) * m_nbCols;
    copyRowIn(from, buffer.data() + 1, m_nbCols);
  }

  static Vector fold(Vector v, T const* voxels) { return Vec::max(v, Vec::load(voxels)); }
  static Vector foldThree(Vector v, T const* voxels) { return fold(fold(fold(v, voxels), voxels + 1), voxels + 2); }
  static Vector reduceNine(T const* a, T const* b, T const* c) {
    return foldThree(foldThree(fold(fold(Vec::load(a), a + 1), a + 2), b), c);
  }

  [[gnu::noinline]] static void reduce(Rows rows, T* __restrict memo, long nbCols) {
    for (long col = 0; col < nbCols; col += L)
      Vec::store(memo + col, reduceNine(rows.before + col, rows.current + col, rows.after + col));
  }
  [[gnu::noinline]] static void computeCube(Rows rows, T* __restrict older, T const* __restrict newer,
                                            T* __restrict out, long nbCols) {
#pragma GCC unroll 2
    for (long col = 0; col < nbCols; col += L) {
      Vector const reduced = reduceNine(rows.before + col, rows.current + col, rows.after + col);
      Vec::store(out + col, Vec::max(Vec::max(Vec::load(older + col), Vec::load(newer + col)), reduced));
      Vec::store(older + col, reduced);
    }
  }
  [[gnu::noinline]] static void computeFaces(Rows above, Rows rows, Rows below, T* __restrict out, long nbCols) {
#pragma GCC unroll 4
    for (long col = 0; col < nbCols; col += L) {
      Vector const v = fold(fold(Vec::load(rows.before + 1 + col), above.current + 1 + col), below.current + 1 + col);
      Vec::store(out + col, foldThree(fold(v, rows.after + 1 + col), rows.current + col));
    }
  }
  [[gnu::noinline]] static void computeEdges(Rows above, Rows rows, Rows below, T* __restrict out, long nbCols) {
    for (long col = 0; col < nbCols; col += L) {
      Vector v = foldThree(fold(Vec::load(above.before + 1 + col), below.before + 1 + col), rows.before + col);
      v = foldThree(foldThree(foldThree(v, above.current + col), rows.current + col), below.current + col);
      v = fold(fold(v, above.after + 1 + col), below.after + 1 + col);
      Vec::store(out + col, foldThree(v, rows.after + col));
    }
  }

  static constexpr T cLowest = std::numeric_limits<T>::lowest();
  ImagePointer m_input;
  ImagePointer m_output;
  long m_nbCols;
  long m_nbRows;
  long m_nbPlans;
  unsigned int m_nbIterations;
  std::vector<T> m_temporary;
  ContractRows<T> m_inputRows;  ///< for one iteration
  ContractRows<T> m_outputRows;
};

}  // namespace bench
