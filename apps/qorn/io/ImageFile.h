#pragma once

#include <functional>
#include <memory>
#include <string>

#include "pxl/Image.h"
#include "qorn/io/ImageHeader.h"

/**
 * Reading of image files. The suffix selects the format: .npy, .tif or .tiff, .png, .nii or .nii.gz, in any case.
 * Voxels are read as they are stored: no scaling, no inversion, no rotation. The samples of a pixel become the
 * spectral series, and one-bit masks become voxels 0 and 1.
 *
 * A file is opened once. If it is opened again, it is verified to be the same file, so that header and voxels match.
 *
 * Files are not trusted: all that a header declares is checked against the limits and the size of the file before
 * memory is allocated for voxels.
 */
namespace qorn::io {

struct ReadOptions {
  bool isOnDisk = false;   ///< leave the voxels in the file and read rows on demand
  bool isPrivate = false;  ///< read everything into writable memory
  unsigned long maxCompressedVoxels = cDefaultMaxCompressedVoxels;
  int interpretation = pxl::cGrey;
  std::function<void(ImageHeader const&)> check;  ///< may throw; called before memory is allocated for voxels
};

/** An image that was read, and its header. */
struct ImageFile {
  ImageHeader header;
  std::shared_ptr<pxl::Image> image;
};

/** Called by each reader between header and voxels. @throws FileError more compressed voxels than allowed */
void checkBeforeReading(std::string const& path, ImageHeader const& header, ReadOptions const& options);

/** Reads the header only. @throws FileError */
ImageHeader readImageHeader(std::string const& path);

/** The image in the file; .npy in native C order is mapped, everything else is read into memory. @throws FileError */
ImageFile readImage(std::string const& path, ReadOptions const& options = ReadOptions());

}  // namespace qorn::io
