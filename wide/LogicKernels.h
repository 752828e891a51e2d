#pragma once

#include "wide/RowKernels.h"

/** Bitwise operations on rows of bytes, for one set of instructions. */
namespace pxl::wide {

constexpr int cNbLogicalOperators = 7;

/** Rows of the result and of the one or two images that it is computed from; a result may stand on its image. */
struct LogicRows {
  char const* a;
  char const* b;
  char* out;
  long strideOfA;  ///< bytes from one row to the next
  long strideOfB;
  long strideOfOut;
  long nbBytes;  ///< of a row
  long nbRows;
  unsigned long value;  ///< repeated for each eight bytes, instead of b
  bool isPastCaches;    ///< writes to memory without reading what is there, for results that caches can't hold
};

using LogicKernel = void (*)(LogicRows const& rows);

/** The operation `logicalOperator`, 0 to 6, of two images or of an image and a value. */
LogicKernel getLogicKernel(Targets target, int logicalOperator, bool isWithValue);

}  // namespace pxl::wide
