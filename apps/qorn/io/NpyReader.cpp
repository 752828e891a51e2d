#include <algorithm>
#include <cstring>
#include <vector>

#include "qorn/io/ByteOrder.h"
#include "qorn/io/FileError.h"
#include "qorn/io/ImageReaders.h"
#include "qorn/io/InputFile.h"
#include "qorn/io/NpyHeader.h"

namespace qorn::io {
namespace {

ImageHeader makeCheckedHeader(InputFile const& file, NpyHeader const& npy) {
  ImageHeader const header = makeHeader(file.getPath(), npy.type, npy.shape, false);
  unsigned long const present = file.getSize() - npy.dataOffset;
  if (getNbBytes(header) > present) {
    throw FileError(file.getPath(), "declares " + std::to_string(getNbBytes(header)) + " bytes of voxels and has " +
                                        std::to_string(present));
  }
  return header;
}

/**
 * Reads data in Fortran order into an image. The column is the slowest axis of the file and the fastest of the image,
 * so blocks of several columns and rows are read together; otherwise every voxel would touch another cache line. With
 * few rows a block has more columns, so that reads don't become too small.
 */
void readTransposed(InputFile const& file, NpyHeader const& npy, pxl::ImageSizes const& sizes, char* voxels) {
  constexpr unsigned long cMinBlockCols = 64;
  constexpr unsigned long cMaxBlockRows = 1024;
  unsigned long const voxelBytes = pxl::helper::getSizeOf(npy.type);
  unsigned long const nbCols = sizes[pxl::cColumns];
  unsigned long nbRows = 1;  // rows of all plans, in the order of the file: the first index is the fastest
  for (std::size_t i = 0; i + 1 < npy.shape.size(); ++i) nbRows *= npy.shape[i];
  std::vector<unsigned long> rowStrides(npy.shape.size() - 1, nbCols * voxelBytes);
  for (std::size_t i = rowStrides.size() - 1; i > 0; --i) rowStrides[i - 1] = rowStrides[i] * npy.shape[i];

  unsigned long const blockRows = std::min(cMaxBlockRows, nbRows);
  unsigned long const blockCols = cMinBlockCols * cMaxBlockRows / blockRows;
  std::vector<char> block(blockCols * blockRows * voxelBytes);
  std::vector<unsigned long> index(rowStrides.size(), 0);
  for (unsigned long row = 0; row < nbRows; row += blockRows) {
    unsigned long const rows = std::min(blockRows, nbRows - row);
    std::vector<unsigned long> const indexOfBlock = index;
    for (unsigned long col = 0; col < nbCols; col += blockCols) {
      unsigned long const cols = std::min(blockCols, nbCols - col);
      bool const isContiguous = rows == nbRows;
      for (unsigned long c = 0; c < cols; c += isContiguous ? cols : 1) {
        file.read(block.data() + c * rows * voxelBytes, (isContiguous ? cols : 1) * rows * voxelBytes,
                  npy.dataOffset + ((col + c) * nbRows + row) * voxelBytes);
      }
      if (npy.isSwapped) swapBytes(block.data(), rows * cols, voxelBytes);
      index = indexOfBlock;
      for (unsigned long r = 0; r < rows; ++r) {
        char* target = voxels + col * voxelBytes;
        for (std::size_t i = 0; i < index.size(); ++i) target += index[i] * rowStrides[i];
        for (unsigned long c = 0; c < cols; ++c) {
          std::memcpy(target + c * voxelBytes, block.data() + (c * rows + r) * voxelBytes, voxelBytes);
        }
        for (std::size_t i = 0; i < index.size() && ++index[i] == npy.shape[i]; ++i) index[i] = 0;
      }
    }
  }
}

}  // namespace

ImageHeader readNpyImageHeader(InputFile const& file) { return makeCheckedHeader(file, readNpyHeader(file)); }

ImageFile readNpy(InputFile const& file, ReadOptions const& options) {
  std::string const& path = file.getPath();
  NpyHeader const npy = readNpyHeader(file);
  ImageHeader const header = makeCheckedHeader(file, npy);
  checkBeforeReading(path, header, options);
  if (!npy.isSwapped && !npy.isFortranOrder && !options.isPrivate) {
    auto const image = options.isOnDisk ? pxl::Image::OnDisk(path, pxl::FileModes::cReadOnly, header.type,
                                                             header.sizes, npy.dataOffset, options.interpretation)
                                        : pxl::Image::OnMappedFile(path, header.type, header.sizes, npy.dataOffset,
                                                                   options.interpretation);
    // The file was opened again by its path.
    if (!file.holds(*image)) throw FileError(path, "was replaced while it was read");
    return {header, image};
  }
  if (options.isOnDisk) {
    throw FileError(path, npy.isFortranOrder ? "data in Fortran order can't be used on disk"
                                             : "big-endian data can't be used on disk");
  }
  std::shared_ptr<pxl::Image> image = makeImage(path, header, options.interpretation);
  char* const voxels = static_cast<char*>(image->getVoxels());
  if (npy.isFortranOrder) {
    readTransposed(file, npy, header.sizes, voxels);
  } else {
    file.read(voxels, getNbBytes(header), npy.dataOffset);
    if (npy.isSwapped) swapBytes(voxels, getNbVoxels(header), pxl::helper::getSizeOf(header.type));
  }
  return {header, image};
}

}  // namespace qorn::io
