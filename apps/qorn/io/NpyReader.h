#pragma once

#include "qorn/io/ImageFile.h"

namespace qorn::io {

class InputFile;

/** @throws FileError also when the declared data isn't there */
ImageHeader readNpyImageHeader(InputFile const& file);

/**
 * Maps the file when its data is little-endian and in C order; other data is read into memory and put in order.
 * On disk, such other data is refused. @throws FileError
 */
ImageFile readNpy(InputFile const& file, ReadOptions const& options);

}  // namespace qorn::io
