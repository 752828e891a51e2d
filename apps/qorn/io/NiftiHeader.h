#pragma once

#include <nifti1.h>

#include <string>

#include "qorn/io/ImageHeader.h"

/** The header of NIfTI-1 files. All fields are checked before they are used. */
namespace qorn::io {

/** The header and the four bytes after it, which declare extensions; voxels begin here or later. */
constexpr unsigned long cNiftiStartBytes = 352;

/** The header of a single file. */
struct NiftiHeader {
  nifti_1_header fields;     ///< in native byte order
  bool isSwapped;            ///< the file has the other byte order
  unsigned long dataOffset;  ///< where voxels begin in the uncompressed file
};

/**
 * Interprets the first cNiftiStartBytes bytes of a file.
 * @throws FileError not a single NIfTI-1 file, or an invalid offset of the voxels
 */
NiftiHeader parseNiftiHeader(std::string const& path, void const* start);

/**
 * The image that a header declares, with spacing, scale and the header itself, which an output may inherit. Doesn't
 * check that the voxels exist.
 * @throws FileError the voxel type isn't supported, or the sizes are invalid
 */
ImageHeader makeNiftiImageHeader(std::string const& path, NiftiHeader const& nifti, bool isCompressed);

/**
 * The header of an output in native byte order. It inherits the header of a NIfTI input, except for type and sizes;
 * the scale is inherited only with the voxel type. Without such an input the spacing is 1 and the rest is unknown.
 * @throws FileError not enough memory
 */
nifti_1_header makeNiftiFields(std::string const& path, ImageHeader const& header);

}  // namespace qorn::io
