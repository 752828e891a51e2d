#pragma once

#include <cstddef>

#include "pxl/VoxelTypes.h"

/** What is done with rows of voxels, for one voxel type, polarity and set of instructions. */
namespace pxl::wide {

/** The sets of instructions that the vectors are compiled for; those of one processor narrowest first. */
enum class Targets { cSse4, cAvx2, cAvx512, cNeon };

/** Whether the largest or the smallest voxel is taken. */
enum class Polarities { cDilation, cErosion };

constexpr long cCacheLine = 64;
constexpr long cRowSlack = 1024;  ///< bytes behind a row that may be read

/** How long the windows may be that one node of a program computes. */
struct WindowLimits {
  long nbColumns = 0;    ///< 0: none at all
  long nbImageRows = 8;  ///< of several windows at once straight from the image; longer ones go by blocks
};

/**
 * Functions on rows of adjacent voxels, which may stand at any address that is a multiple of their size. Of two
 * voxels a and b, a being the earlier one, a fold takes a where a > b (erosion: a < b) and else b, as the other
 * runner does: so that NaN and zeros of both signs come out the same where the order is the same.
 */
struct RowKernels {
  using Row = char const*;

  /** What a fold asks of the memory. Rows may be prefetched: 1 of every 2^shift bytes that are folded. */
  struct Traffic {
    Row row = nullptr;  ///< to prefetch with the first row of a fold; null: none
    long stride = 0;    ///< to that of the next one
    int shift = 0;
    bool isPastCaches = false;  ///< the result is written without reading what is there; flush() is to be called
  };

  /**
   * Which voxels of the rows of a fold are there: of row i those from column first[i] to end[i] - 1. The others have
   * the neutral value; they are only in the first nbLeft and the last nbRight columns.
   */
  struct Ends {
    long const* first = nullptr;
    long const* end = nullptr;
    long nbLeft = 0;
    long nbRight = 0;
  };

  /**
   * For each of nbRows rows: out = fold of the rows at `rows`, in their order. Between one row and the next lie
   * rowStrides[i] bytes, and outStride bytes in the result. The result isn't one of the rows. `rows` is overwritten.
   */
  void (*fold)(Row* rows, long const* rowStrides, long nbTaps, char* out, long outStride, long nbRows, long count,
               Traffic const& traffic, Ends const& ends);
  /**
   * nbResults (4, 8 or, with vectors of 64 bytes, 16) windows of `length` rows each, result i from row i on: out[i] =
   * fold of rows[i .. i + length - 1]; length is at least nbResults and count at least minRowsAtOnce.
   */
  void (*foldRowsAtOnce)(Row const* rows, long length, char* const* out, long nbResults, long count,
                         Traffic const& traffic);
  /** prefix = isFirst ? row : fold(prefix, row); out = fold(suffix, prefix). */
  void (*foldBlockRow)(Row suffix, Row row, char* prefix, bool isFirst, char* out, long count,
                       Traffic const& traffic);
  /**
   * For each of nbRows rows: out[i] = fold of row[i .. i + length - 1], in some order; length is from 4 to
   * limits.nbColumns. Null where that is 0. A cache line before a row and cRowSlack bytes behind its last window may
   * be read.
   */
  void (*foldColumnsAtOnce)(Row row, long rowStride, long length, char* out, long outStride, long nbRows, long count,
                            Traffic const& traffic);
  /** Whether order matters in a row: there is a NaN, or a zero with a sign. Never of integers. */
  bool (*hasSpecialReals)(Row row, long count);
  /** Fills a row with the neutral value. */
  void (*fillNeutral)(char* row, long count);
  /** To be called by a thread that has written past the caches, before others read that. */
  void (*flush)();

  long voxelSize;      ///< bytes
  long minRowsAtOnce;  ///< voxels
  WindowLimits limits;
};

/** Of one set of instructions, which the processor must have. Null for a type without kernels. */
RowKernels const* getRowKernels(Targets target, VoxelTypes type, Polarities polarity);

}  // namespace pxl::wide
