#pragma once

#include <functional>
#include <memory>
#include <string>

#include "pxl/Image.h"
#include "qorn/io/ImageHeader.h"

/**
 * Reading of image files. The suffix tells the format: .npy, .tif or .tiff, .png, .nii or .nii.gz, in any case.
 * Voxels are read as they are stored: no scaling, no inversion, no rotation. The samples of a pixel become the
 * spectral series, and one-bit masks voxels 0 and 1.
 *
 * A file is opened once, or what is opened again is known to be the same: header and voxels belong together.
 *
 * Files are not trusted: everything a header declares is checked, against the limits and against the size of the
 * file, before memory is taken for voxels.
 */
namespace qorn::io {

struct ReadOptions {
  bool isOnDisk = false;   ///< leave the voxels in the file and read rows when they are needed
  bool isPrivate = false;  ///< read everything into memory that may be written to
  unsigned long maxCompressedVoxels = cDefaultMaxCompressedVoxels;
  int interpretation = pxl::cGrey;
  std::function<void(ImageHeader const&)> check;  ///< may throw; called before memory is taken for voxels
};

/** An image that was read and what its file said. */
struct ImageFile {
  ImageHeader header;
  std::shared_ptr<pxl::Image> image;
};

/** What each reader does between header and voxels. @throws FileError more compressed voxels than allowed */
void checkBeforeReading(std::string const& path, ImageHeader const& header, ReadOptions const& options);

/** What the file says, without reading voxels. @throws FileError */
ImageHeader readImageHeader(std::string const& path);

/** The image in the file; .npy in native C order is mapped, everything else is read into memory. @throws FileError */
ImageFile readImage(std::string const& path, ReadOptions const& options = ReadOptions());

}  // namespace qorn::io
