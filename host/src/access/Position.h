#pragma once

#include "pxl/VoxelTypes.h"

namespace pxl::access {

/** Five coordinates or sizes in the order of Components, as functions of the contract take them. */
using Position = unsigned long[cNbComponents];

/** The same as a value: arrays can't be returned or copied. */
struct PositionValue {
  Position at;
};

/** @param sizes  anything with an index from 0 to 4 */
template <class Sizes>
PositionValue toPosition(Sizes const& sizes) {
  PositionValue position;
  for (unsigned int i = 0; i < cNbComponents; ++i) position.at[i] = sizes[i];
  return position;
}

}  // namespace pxl::access
