#include "access/Overlap.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>

namespace pxl::access {
namespace {

// A window as bytes of a place. Dimensions of size 1 have stride 0.
struct Layout {
  explicit Layout(VoxelSource const& source)
      : key(source.storage->getKey()),
        voxelSize(static_cast<long>(helper::getSizeOf(source.storage->getVoxelType()))) {
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
  return a.origin == b.origin && a.key.access == b.key.access && std::equal(a.size, a.size + cNbComponents, b.size) &&
         haveEqualStrides(a, b);
}

void getByteRange(Layout const& window, long& begin, long& end) {
  begin = window.origin;
  end = window.origin + window.voxelSize;
  for (int i = 0; i < cNbComponents; ++i) {
    long const reach = (window.size[i] - 1) * window.strides[i];
    (reach < 0 ? begin : end) += reach;
  }
}

// Walks a distance in bytes with differences of indices of two windows of equal strides, from the dimension with the
// largest stride down.
struct Walk {
  Layout const& a;
  Layout const& b;
  int order[cNbComponents];

  // Whether each dimension steps over all that the smaller ones reach, as in any image whose rows don't interleave.
  bool isNested() const {
    long span = a.voxelSize;
    for (int depth = cNbComponents - 1; depth >= 0; --depth) {
      int const i = order[depth];
      long const stride = std::abs(strideOf(i));
      if (stride == 0) continue;
      if (stride < span) return false;
      span += (std::max(a.size[i], b.size[i]) - 1) * stride;
    }
    return true;
  }

  // Exact in a nested layout only: there the smaller dimensions bridge less than one step of a larger one.
  bool reaches(long distance, int depth) const {
    if (depth == cNbComponents) return distance < a.voxelSize && -distance < a.voxelSize;
    int const i = order[depth];
    long const stride = strideOf(i);
    if (stride == 0) return reaches(distance, depth + 1);
    long const nearest = distance / stride;
    for (long steps = nearest - 1; steps <= nearest + 1; ++steps)
      if (steps > -b.size[i] && steps < a.size[i] && reaches(distance - steps * stride, depth + 1)) return true;
    return false;
  }

  long strideOf(int i) const { return a.size[i] != 1 ? a.strides[i] : b.strides[i]; }
};

// True when in doubt.
bool mayShareVoxels(Layout const& a, Layout const& b) {
  Walk walk{a, b, {}};
  std::iota(walk.order, walk.order + cNbComponents, 0);
  std::stable_sort(walk.order, walk.order + cNbComponents,
                   [&walk](int i, int j) { return std::abs(walk.strideOf(i)) > std::abs(walk.strideOf(j)); });
  return !walk.isNested() || walk.reaches(b.origin - a.origin, 0);
}

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
  if (isOneType && haveEqualStrides(first, second) && !mayShareVoxels(first, second)) return Overlaps::cNone;
  return Overlaps::cPartial;
}

}  // namespace pxl::access
