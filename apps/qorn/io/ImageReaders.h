#pragma once

#include "qorn/io/ImageFile.h"

namespace qorn::io {

class InputFile;

/**
 * Readers of the formats. Each reads the header only, or the image after checkBeforeReading(), into memory unless
 * noted otherwise.
 *
 * All functions:
 * @throws FileError the file can't be used, or the declared data is missing
 */

ImageHeader readNpyImageHeader(InputFile const& file);
/**
 * Maps the file if its data is little-endian and in C order; other data is read into memory and converted. On disk,
 * such other data is refused.
 */
ImageFile readNpy(InputFile const& file, ReadOptions const& options);

/**
 * Pages are plans; all must have the same size and type. If the description of the first page is JSON with a "shape",
 * it declares the sizes of an array with more than three dimensions, pages in C order. It is ignored if it doesn't
 * fit all pages.
 */
ImageHeader readTiffImageHeader(InputFile const& file);
/** With any byte order and compression. */
ImageFile readTiff(InputFile const& file, ReadOptions const& options);

/** Grey or colour, with or without alpha, of 8 or 16 bits, or one-bit masks; no palettes. */
ImageHeader readPngImageHeader(InputFile const& file);
ImageFile readPng(InputFile const& file, ReadOptions const& options);

/**
 * Dimensions 1 to 5 are columns, rows, plans, sequence and spectral series. A path that ends in .gz is compressed.
 */
ImageHeader readNiftiImageHeader(InputFile const& file);
/** With any byte order; voxels are never scaled. */
ImageFile readNifti(InputFile const& file, ReadOptions const& options);

}  // namespace qorn::io
