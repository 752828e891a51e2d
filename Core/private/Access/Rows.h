#pragma once

#include <vector>

#include "Core/private/Access/simd/AlignedAllocator.h"
#include "pxl/Noncopyable.h"

namespace pxl::access {

/** A private buffer for one row of voxels, aligned and with slack for a whole vector behind its end. */
template <class V, class A>
class BaseRow : private Noncopyable {
 public:
  explicit BaseRow(unsigned long slot) : index(slot) {}
  virtual ~BaseRow() = default;

  unsigned long const index;  ///< the row's slot in its cache
  std::vector<typename V::VoxelType, A> voxels;
};

/** A row that was read. Its data may move when its slot is fetched again with a larger size. */
template <class V, class A>
class InputRow final : public BaseRow<V, A> {
 public:
  using BaseRow<V, A>::BaseRow;
};

}  // namespace pxl::access
