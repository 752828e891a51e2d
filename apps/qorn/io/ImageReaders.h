#pragma once

#include "qorn/io/ImageFile.h"

namespace qorn::io {

class InputFile;

/**
 * Readers of the formats. Each reads the header alone, or the image: after checkBeforeReading(), into memory unless
 * it says otherwise. All throw FileError, also when the declared data isn't there.
 */

ImageHeader readNpyImageHeader(InputFile const& file);
/**
 * Maps the file when its data is little-endian and in C order; other data is read into memory and put in order.
 * On disk, such other data is refused.
 */
ImageFile readNpy(InputFile const& file, ReadOptions const& options);

/**
 * Pages are plans; all must be alike. A first page whose description is JSON with a "shape" tells the sizes of arrays
 * with more than three dimensions, pages in C order; one that doesn't fit all pages is ignored.
 */
ImageHeader readTiffImageHeader(InputFile const& file);
/** Whatever the byte order and compression. */
ImageFile readTiff(InputFile const& file, ReadOptions const& options);

/** Grey or colour, with or without alpha, of 8 or 16 bits, or masks of one bit; no palettes. */
ImageHeader readPngImageHeader(InputFile const& file);
ImageFile readPng(InputFile const& file, ReadOptions const& options);

/**
 * Dimensions 1 to 5 are columns, rows, plans, sequence and spectral series. A path that ends in .gz is compressed.
 */
ImageHeader readNiftiImageHeader(InputFile const& file);
/** Whatever the byte order; voxels are never scaled. */
ImageFile readNifti(InputFile const& file, ReadOptions const& options);

}  // namespace qorn::io
