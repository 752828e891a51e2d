#pragma once

#include "qorn/io/ImageFile.h"

namespace qorn::io {

class InputFile;

/**
 * Pages are plans; all must be alike. A first page whose description is JSON with a "shape" tells the sizes of arrays
 * with more than three dimensions, pages in C order; one that doesn't fit all pages is ignored.
 * @throws FileError also when the declared data isn't there
 */
ImageHeader readTiffImageHeader(InputFile const& file);

/** Reads into memory, whatever the byte order and compression. @throws FileError */
ImageFile readTiff(InputFile const& file, ReadOptions const& options);

}  // namespace qorn::io
