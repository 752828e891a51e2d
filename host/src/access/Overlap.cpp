#include "access/Overlap.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>

namespace pxl::access {
namespace {

// A window as bytes of its place. Dimensions of size 1 have stride 0.
struct Layout {
  explicit Layout(VoxelSource const& source)
      : key(source.storage->getKey()), voxelSize(static_cast<long>(source.storage->getStoredVoxelSize())) {
    origin = static_cast<long>(key.origin);
    for (int i = 0; i < cNbComponents; ++i) {
      size[i] = static_cast<long>(source.size[i]);
      strides[i] = key.strides[i];
      origin += static_cast<long>(source.begin[i]) * strides[i];
      isEmpty = isEmpty || size[i] == 0;
    }
  }

  StorageKey key;
  long voxelSize;
  long origin;
  long size[cNbComponents];
  long strides[cNbComponents];
  bool isEmpty = false;
};

bool haveEqualStrides(Layout const& a, Layout const& b) {
  for (int i = 0; i < cNbComponents; ++i)
    if (a.strides[i] != b.strides[i] && a.size[i] != 1 && b.size[i] != 1) return false;
  return true;
}

bool areSame(Layout const& a, Layout const& b) {
  return a.origin == b.origin && a.key.access == b.key.access && a.key.adaptation == b.key.adaptation &&
         std::equal(a.size, a.size + cNbComponents, b.size) && haveEqualStrides(a, b);
}

void getByteRange(Layout const& window, long& begin, long& end) {
  begin = window.origin;
  end = window.origin + window.voxelSize;
  for (int i = 0; i < cNbComponents; ++i) {
    long const reach = (window.size[i] - 1) * window.strides[i];
    (reach < 0 ? begin : end) += reach;
  }
}

// Searches two windows of equal strides for a voxel of `a` and one of `b` that share bytes. It looks for a difference
// of their indices that bridges the distance in bytes, from the dimension with the largest stride down. If each
// stride exceeds the reach of all smaller ones, few differences have to be tried in each dimension.
class Search {
 public:
  Search(Layout const& a, Layout const& b) : m_a(a), m_b(b) {
    int order[cNbComponents];
    std::iota(order, order + cNbComponents, 0);
    auto const strideOf = [&](int i) { return a.size[i] != 1 ? a.strides[i] : b.strides[i]; };
    std::stable_sort(order, order + cNbComponents,
                     [&](int i, int j) { return std::abs(strideOf(i)) > std::abs(strideOf(j)); });
    for (int depth = cNbComponents - 1; depth >= 0; --depth) {
      int const i = order[depth];
      bool const isBackwards = strideOf(i) < 0;
      Dimension& dimension = m_dimensions[depth];
      dimension.stride = std::abs(strideOf(i));
      dimension.lowest = 1 - (isBackwards ? a.size[i] : b.size[i]);
      dimension.highest = (isBackwards ? b.size[i] : a.size[i]) - 1;
      dimension.reachBelow = std::max(a.voxelSize, b.voxelSize) - 1;
      if (depth == cNbComponents - 1) continue;
      Dimension const& below = m_dimensions[depth + 1];
      dimension.reachBelow = below.reachBelow + below.stride * std::max(below.highest, -below.lowest);
    }
  }

  // Whether voxels share bytes if `b` begins this many bytes after `a`; true if the search would take too long.
  bool findsShared() { return finds(m_b.origin - m_a.origin, 0, true); }

  // Whether different voxels of one window share bytes, `a` and `b` being this window.
  bool findsSharedWithin() { return finds(0, 0, false); }

 private:
  struct Dimension {
    long stride;
    long lowest, highest;  // differences of indices
    long reachBelow;       // bytes that the smaller dimensions and a voxel bridge
  };

  // `isDifferent`: whether the indices of the two voxels differ, or may still differ.
  bool finds(long distance, int depth, bool isDifferent) {
    if (++m_nbSteps > cMaxNbSteps) return true;
    if (depth == cNbComponents) return isDifferent && distance < m_a.voxelSize && -distance < m_b.voxelSize;
    Dimension const& d = m_dimensions[depth];
    if (d.stride == 0) return finds(distance, depth + 1, isDifferent || d.highest > 0);
    long const first = std::max(d.lowest, (distance - d.reachBelow) / d.stride - 1);
    long const last = std::min(d.highest, (distance + d.reachBelow) / d.stride + 1);
    for (long steps = first; steps <= last; ++steps)
      if (finds(distance - steps * d.stride, depth + 1, isDifferent || steps != 0)) return true;
    return false;
  }

  static constexpr long cMaxNbSteps = 1L << 18;

  Layout const& m_a;
  Layout const& m_b;
  Dimension m_dimensions[cNbComponents];
  long m_nbSteps = 0;
};

}  // namespace

Overlaps getOverlap(VoxelSource const& a, VoxelSource const& b) {
  Layout const first(a);
  Layout const second(b);
  if (first.isEmpty || second.isEmpty || !std::equal(first.key.space, first.key.space + 2, second.key.space))
    return Overlaps::cNone;
  bool const isOneType = a.storage->getVoxelType() == b.storage->getVoxelType();
  if (isOneType && areSame(first, second)) return Overlaps::cSame;
  long firstBegin, firstEnd, secondBegin, secondEnd;
  getByteRange(first, firstBegin, firstEnd);
  getByteRange(second, secondBegin, secondEnd);
  if (firstEnd <= secondBegin || secondEnd <= firstBegin) return Overlaps::cNone;
  if (haveEqualStrides(first, second) && !Search(first, second).findsShared()) return Overlaps::cNone;
  return Overlaps::cPartial;
}

bool isOnItself(VoxelSource const& source) {
  Layout const window(source);
  return !window.isEmpty && Search(window, window).findsSharedWithin();
}

}  // namespace pxl::access
