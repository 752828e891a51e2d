#pragma once

#include "qorn/io/ImageHeader.h"

namespace qorn::io {

class OutputFile;

/**
 * Writers of the formats. Each checks the header before a run, so that hours of work never end with an image that its
 * format can't hold, and writes the image, whose `voxels` are packed in C order. All throw FileError when the file
 * can't be written, and ExceptionCancelation soon after it isn't wanted any more.
 */

/** The bytes before the voxels of an .npy file. */
std::string makeNpyHeader(ImageHeader const& header);
/** Every image fits. */
void checkNpy(std::string const& path, ImageHeader const& header);
void writeNpy(OutputFile const& file, ImageHeader const& header, void const* voxels);

/** Readers stop at this number of pages, the library among them. */
constexpr unsigned long cMaxTiffPages = 1ul << 20;
/** @throws FileError too many plans */
void checkTiff(std::string const& path, ImageHeader const& header);
/** Whether the offsets of the classic format, of 32 bits, might not reach; a margin is for what pages need. */
bool needsBigTiff(ImageHeader const& header);
/** One page for each plan with all its samples, in strips, uncompressed; a BigTIFF where the data needs it. */
void writeTiff(OutputFile const& file, ImageHeader const& header, void const* voxels);

/** @throws FileError PNG holds one plan of uint8 or uint16, of grey or RGB, with or without alpha */
void checkPng(std::string const& path, ImageHeader const& header);
void writePng(OutputFile const& file, ImageHeader const& header, void const* voxels);

/** @throws FileError a size that 16 bits don't hold */
void checkNifti(std::string const& path, ImageHeader const& header);
/** One file of header and voxels in native byte order. */
void writeNifti(OutputFile const& file, ImageHeader const& header, void const* voxels);
/** The same through gzip. */
void writeCompressedNifti(OutputFile const& file, ImageHeader const& header, void const* voxels);

}  // namespace qorn::io
