#pragma once

#include <vector>

#include "access/support/Source.h"
#include "analysis/IntensityExtremaSIMDGeneric.h"
#include "analysis/support/Extrema.h"

/** The kernel of the extrema on leaves that a test cuts and orders by itself. */
namespace analysis_test {

using access_test::KernelInput;
using access_test::Source;
using pxl::access::Block3d;

template <class T>
using Extrema = pxl::analysis::IntensityExtremaSIMDGeneric<T>;

inline std::vector<Block3d> cutIntoLeaves(Block3d block) {
  if (!block.is_divisible()) return {block};
  Block3d const upper(block, tbb::split());
  std::vector<Block3d> leaves = cutIntoLeaves(block);
  for (Block3d const& leaf : cutIntoLeaves(upper)) leaves.push_back(leaf);
  return leaves;
}

inline Block3d makeWhole(oracle::Five const& sizes, Grains const& grains = {1L << 40, 1L << 40, 1L << 40}) {
  return Block3d(0, sizes[2], static_cast<long>(grains.plans), 0, sizes[1], static_cast<long>(grains.rows), 0,
                 sizes[0], static_cast<long>(grains.cols), 0, 0);
}

template <class T>
Extrema<T> runLeaves(Source<T> const& source, std::vector<Block3d> const& leaves) {
  Extrema<T> extrema;
  KernelInput<T> input{source.view};
  for (Block3d const& leaf : leaves) extrema.run(leaf, input);
  return extrema;
}

}  // namespace analysis_test
