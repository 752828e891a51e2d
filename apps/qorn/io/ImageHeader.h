#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "pxl/Image.h"
#include "pxl/VoxelTypes.h"
#include "qorn/io/Picture.h"

namespace qorn::io {

/** The names of the dimensions, in the order of pxl::Components. */
constexpr char const* cAxisNames[pxl::cNbComponents] = {"columns", "rows", "plans", "sequence", "spectral"};

/** The default limit on the voxels of compressed files: a small file can declare any size. */
constexpr unsigned long cDefaultMaxCompressedVoxels = 1UL << 30;

struct NiftiHeader;

/** The value of a voxel is slope * voxel + intercept. */
struct ValueScale {
  float slope;
  float intercept;
};

/** What an image file declares about its voxels. */
struct ImageHeader {
  pxl::VoxelTypes type;
  pxl::ImageSizes sizes;
  int rank;                                            ///< number of dimensions of the array in the file, 2 to 5
  bool isCompressed;                                   ///< the size of the file doesn't limit the number of voxels
  std::vector<float> spacing = {};                     ///< of the dimensions of the file; empty if unknown
  std::optional<ValueScale> scale = std::nullopt;      ///< of the values; voxels are never scaled
  std::shared_ptr<NiftiHeader const> nifti = nullptr;  ///< the whole header of a NIfTI file
  Picture picture = {};                                ///< of PNG and TIFF; other files have pixels of one sample
  char const* format = "";                             ///< the name in the table of formats, for a file that was read
};

/**
 * The header of an array in C order: the last two sizes are rows and columns, the ones before plans, sequence and
 * spectral series; missing ones are 1.
 * @throws FileError a rank other than 2 to 5, a size of 0 or beyond 2^31 - 1, or more than 2^40 voxels
 */
ImageHeader makeHeader(std::string const& path, pxl::VoxelTypes type, std::vector<unsigned long> const& shape,
                       bool isCompressed);

/** The same for a picture; `shape` is that of one sample. Several samples become the spectral series. */
ImageHeader makeHeader(std::string const& path, pxl::VoxelTypes type, std::vector<unsigned long> shape,
                       bool isCompressed, Picture const& picture);

/** Whether a picture is written with one bit per pixel: its file had one, and all voxels are 0 or 1. */
bool isMask(ImageHeader const& header, void const* voxels);

/** Converts the scale to that of differences of voxels: the intercept becomes 0. */
void dropIntercept(ImageHeader& header);

/** The number of voxels of a header that makeHeader() made. */
unsigned long getNbVoxels(ImageHeader const& header);
/** The bytes of its voxels. */
unsigned long getNbBytes(ImageHeader const& header);

/** New voxels in memory for the header. @throws FileError not enough memory */
std::shared_ptr<pxl::Image> makeImage(std::string const& path, ImageHeader const& header, int interpretation);

}  // namespace qorn::io
