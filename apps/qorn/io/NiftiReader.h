#pragma once

#include "qorn/io/ImageFile.h"

namespace qorn::io {

class InputFile;

/**
 * Dimensions 1 to 5 are columns, rows, plans, sequence and spectral series. A path that ends in .gz is compressed.
 * @throws FileError also when the file is too short for what it declares
 */
ImageHeader readNiftiImageHeader(InputFile const& file);

/** Reads into memory, whatever the byte order; voxels are never scaled. @throws FileError */
ImageFile readNifti(InputFile const& file, ReadOptions const& options);

}  // namespace qorn::io
