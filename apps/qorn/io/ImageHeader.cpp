#include "qorn/io/ImageHeader.h"

#include <algorithm>
#include <new>

#include "pxl/Limits.h"
#include "qorn/io/FileError.h"

namespace qorn::io {
ImageHeader makeHeader(std::string const& path, pxl::VoxelTypes type, std::vector<unsigned long> const& shape,
                       bool isCompressed) {
  unsigned long const rank = shape.size();
  if (rank < 2 || rank > pxl::cNbComponents) {
    throw FileError(path, std::to_string(rank) + " dimensions; an image has 2 to 5");
  }
  ImageHeader header{type, {1, 1, 1, 1, 1}, static_cast<int>(rank), isCompressed};
  for (unsigned long i = 0; i < rank; ++i) {
    if (shape[i] == 0) throw FileError(path, "has no voxels");
  }
  unsigned long nbVoxels = 1;
  for (unsigned long i = 0; i < rank; ++i) {
    unsigned long const size = shape[rank - 1 - i];
    if (size > pxl::limits::cMaxSize) {
      throw FileError(path, std::to_string(size) + " " + cAxisNames[i] + "; at most " +
                                std::to_string(pxl::limits::cMaxSize) + " are possible");
    }
    if (size > pxl::limits::cMaxNbVoxels / nbVoxels) throw FileError(path, "more than 2^40 voxels");
    nbVoxels *= size;
    header.sizes[i] = size;
  }
  return header;
}

ImageHeader makeHeader(std::string const& path, pxl::VoxelTypes type, std::vector<unsigned long> shape,
                       bool isCompressed, Picture const& picture) {
  if (unsigned long const nbSamples = getNbSamples(picture); nbSamples > 1) {
    if (shape.size() < pxl::cSpectralSeries) shape.insert(shape.begin(), pxl::cSpectralSeries - shape.size(), 1);
    shape.insert(shape.begin(), nbSamples);
  }
  ImageHeader header = makeHeader(path, type, static_cast<std::vector<unsigned long> const&>(shape), isCompressed);
  header.picture = picture;
  return header;
}

bool isMask(ImageHeader const& header, void const* voxels) {
  if (!header.picture.isOneBit || header.type != pxl::cUnsignedInteger8) return false;
  auto const* const first = static_cast<unsigned char const*>(voxels);
  return std::all_of(first, first + getNbVoxels(header), [](unsigned char voxel) { return voxel <= 1; });
}

unsigned long getNbVoxels(ImageHeader const& header) {
  unsigned long count = 1;
  for (unsigned long const size : header.sizes) count *= size;
  return count;
}

unsigned long getNbBytes(ImageHeader const& header) {
  return getNbVoxels(header) * pxl::helper::getSizeOf(header.type);
}

std::shared_ptr<pxl::Image> makeImage(std::string const& path, ImageHeader const& header, int interpretation) {
  try {
    return pxl::Image::New(header.type, header.sizes, interpretation);
  } catch (std::bad_alloc const&) {
    throw FileError(path, "not enough memory for " + std::to_string(getNbBytes(header)) + " bytes of voxels");
  }
}

}  // namespace qorn::io
