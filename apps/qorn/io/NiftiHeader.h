#pragma once

#include <nifti1.h>

#include <string>

#include "qorn/io/ImageHeader.h"

/** The header of NIfTI-1 files. Nothing that it says is believed before it is checked. */
namespace qorn::io {

/** Header and the four bytes behind it, which tell of extensions; voxels begin here or later. */
constexpr unsigned long cNiftiStartBytes = 352;

/** What a file of one piece says. */
struct NiftiHeader {
  nifti_1_header fields;     ///< in native byte order
  bool isSwapped;            ///< the file has the other byte order
  unsigned long dataOffset;  ///< where voxels begin in the uncompressed file
};

/**
 * Interprets the first cNiftiStartBytes bytes of a file.
 * @throws FileError not NIfTI-1 in one file, or voxels that begin where they can't
 */
NiftiHeader parseNiftiHeader(std::string const& path, void const* start);

/**
 * The image that a header declares, with spacing, scale and the header itself, which an output may take over. Whether
 * the voxels are there isn't checked.
 * @throws FileError a voxel type that isn't read, or sizes that can't be
 */
ImageHeader makeNiftiImageHeader(std::string const& path, NiftiHeader const& nifti, bool isCompressed);

/**
 * The header of an output in native byte order. What an input in NIfTI said stays, but for type and sizes; its scale
 * only stays with its voxel type. Without such an input the spacing is 1 and the rest unknown.
 * @throws FileError not enough memory
 */
nifti_1_header makeNiftiFields(std::string const& path, ImageHeader const& header);

}  // namespace qorn::io
