#pragma once

#include "qorn/io/ImageHeader.h"

namespace qorn::io {

class OutputFile;

/**
 * Writers of the formats. Each checks the header before a run, so that a long run never ends with an image that its
 * format can't hold. It writes the image, whose `voxels` are packed in C order.
 *
 * All functions that write:
 * @throws FileError            the file can't be written
 * @throws ExceptionCancelation writing was cancelled
 */

/** The bytes before the voxels of a .npy file. */
std::string makeNpyHeader(ImageHeader const& header);
/** Accepts every image. */
void checkNpy(std::string const& path, ImageHeader const& header);
void writeNpy(OutputFile const& file, ImageHeader const& header, void const* voxels);

/** Readers, including the library, stop at this number of pages. */
constexpr unsigned long cMaxTiffPages = 1UL << 20;
/** @throws FileError too many plans */
void checkTiff(std::string const& path, ImageHeader const& header);
/** Whether the 32-bit offsets of the classic format may not be enough, with a margin for the pages' directories. */
bool needsBigTiff(ImageHeader const& header);
/** One page for each plan with all its samples, in uncompressed strips; a BigTIFF if the data needs it. */
void writeTiff(OutputFile const& file, ImageHeader const& header, void const* voxels);

/** @throws FileError PNG holds one plan of uint8 or uint16, of grey or RGB, with or without alpha */
void checkPng(std::string const& path, ImageHeader const& header);
void writePng(OutputFile const& file, ImageHeader const& header, void const* voxels);

/** @throws FileError a size exceeds 16 bits */
void checkNifti(std::string const& path, ImageHeader const& header);
/** One file of header and voxels in native byte order. */
void writeNifti(OutputFile const& file, ImageHeader const& header, void const* voxels);
/** The same, compressed with gzip. */
void writeCompressedNifti(OutputFile const& file, ImageHeader const& header, void const* voxels);

}  // namespace qorn::io
