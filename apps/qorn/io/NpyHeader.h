#pragma once

#include <string>
#include <vector>

#include "pxl/VoxelTypes.h"

namespace qorn::io {

class InputFile;

/** The header of a .npy file. */
struct NpyHeader {
  pxl::VoxelTypes type;
  bool isSwapped;  ///< the voxels have the other byte order
  bool isFortranOrder;
  std::vector<unsigned long> shape;  ///< as written, any rank
  unsigned long dataOffset;
};

/**
 * Reads the header: versions 1.0, 2.0 and 3.0, at most 64 KiB, a literal dictionary with exactly the keys 'descr',
 * 'fortran_order' and 'shape' in any order. Nothing is evaluated, pickled data is refused.
 * @throws FileError
 */
NpyHeader readNpyHeader(InputFile const& file);

}  // namespace qorn::io
