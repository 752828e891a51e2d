#pragma once

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include "Core/private/Access/simd/AlignedAllocator.h"
#include "Core/private/Access/simd/SimdVec.h"
#include "Images.h"
#include "RowCopies.h"

namespace bench {

/**
 * A baseline: a dilation directly on the memory of an image of one plan. It is a lower bound for a pass that copies
 * each source row once and each result row once, with the same vectors and threads. No views, borders, margins,
 * progress or cancel.
 */
template <class T, bool cIsSquare>
class IdealDilation2d {
 public:
  IdealDilation2d(ImagePointer input, ImagePointer output, unsigned int nbIterations)
      : m_input(input),
        m_output(output),
        m_nbCols(countCols(input)),
        m_nbRows(countRows(input)),
        m_nbIterations(nbIterations),
        m_temporary(static_cast<std::size_t>(nbIterations > 1 ? m_nbCols * m_nbRows : 0)) {}

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
  static constexpr long L = Vec::cNbLanes;
  using Buffer = std::vector<T, pxl::SimdVec::AlignedAllocator<T, 16>>;

  void runPass(T const* source, T* target) const {
    constexpr long cNbRowsPerBand = 32;
    tbb::parallel_for(tbb::blocked_range<long>(0, m_nbRows, cNbRowsPerBand),
                      [&](tbb::blocked_range<long> const& band) {
                        Buffer rows[3], memos[2];
                        for (Buffer& row : rows) row.assign(static_cast<std::size_t>(m_nbCols + 2), cLowest);
                        for (Buffer& memo : memos) memo.resize(static_cast<std::size_t>(m_nbCols));
                        Buffer result(static_cast<std::size_t>(m_nbCols));
                        auto const read = [&](long row, Buffer& buffer) {
                          if (row < 0 || row >= m_nbRows) return buffer.assign(buffer.size(), cLowest);
                          copyRowIn(source + row * m_nbCols, buffer.data() + 1, m_nbCols);
                        };
                        T *older = memos[0].data(), *newer = memos[1].data();
                        T *above = rows[0].data(), *centre = rows[1].data(), *below = rows[2].data();
                        if (cIsSquare) {
                          read(band.begin() - 1, rows[0]);
                          reduce(above, older, m_nbCols);
                          read(band.begin(), rows[0]);
                          reduce(above, newer, m_nbCols);
                        } else {
                          read(band.begin() - 1, rows[0]);
                          read(band.begin(), rows[1]);
                        }
                        for (long row = band.begin(); row < band.end(); ++row) {
                          if (cIsSquare) {
                            read(row + 1, rows[0]);
                            computeSquare(above, older, newer, result.data(), m_nbCols);
                            std::swap(older, newer);
                          } else {
                            readInto(source, row + 1, below);
                            computeCross(above, centre, below, result.data(), m_nbCols);
                            T* const oldest = above;
                            above = centre;
                            centre = below;
                            below = oldest;
                          }
                          copyRowOut(result.data(), target + row * m_nbCols, m_nbCols);
                        }
                      });
  }

  void readInto(T const* source, long row, T* buffer) const {
    if (row < m_nbRows)
      copyRowIn(source + row * m_nbCols, buffer + 1, m_nbCols);
    else
      std::fill(buffer, buffer + m_nbCols + 2, cLowest);
  }

  static typename Vec::Vector reduce(T const* row) {
    return Vec::max(Vec::max(Vec::load(row), Vec::load(row + 1)), Vec::load(row + 2));
  }
  [[gnu::noinline]] static void reduce(T const* __restrict row, T* __restrict memo, long nbCols) {
#pragma GCC unroll 4
    for (long col = 0; col < nbCols; col += L) Vec::store(memo + col, reduce(row + col));
  }
  [[gnu::noinline]] static void computeSquare(T const* __restrict row, T* __restrict older, T const* __restrict newer,
                                              T* __restrict out, long nbCols) {
#pragma GCC unroll 4
    for (long col = 0; col < nbCols; col += L) {
      auto const reduced = reduce(row + col);
      Vec::store(out + col, Vec::max(Vec::max(Vec::load(older + col), Vec::load(newer + col)), reduced));
      Vec::store(older + col, reduced);
    }
  }
  [[gnu::noinline]] static void computeCross(T const* __restrict above, T const* __restrict centre,
                                             T const* __restrict below, T* __restrict out, long nbCols) {
#pragma GCC unroll 4
    for (long col = 0; col < nbCols; col += L)
      Vec::store(out + col,
                 Vec::max(Vec::max(Vec::load(above + 1 + col), Vec::load(below + 1 + col)), reduce(centre + col)));
  }

  static constexpr T cLowest = std::numeric_limits<T>::lowest();
  ImagePointer m_input;
  ImagePointer m_output;
  long m_nbCols;
  long m_nbRows;
  unsigned int m_nbIterations;
  std::vector<T> m_temporary;
};

}  // namespace bench
