#pragma once

#include <array>
#include <memory>
#include <string>

#include "pxl/ImageModel.h"

namespace pxl {

/** Sizes in the order of Components: columns, rows, plans, sequence, spectral series. */
using ImageSizes = std::array<unsigned long, cNbComponents>;
/** Bytes from one voxel to the next in each dimension, in the order of Components. Any sign. */
using ImageStrides = std::array<long, cNbComponents>;

/** How a file is opened as an image. */
enum class FileModes {
  cReadOnly,
  cReadWrite,
  cCreate  ///< made anew with its space reserved, zero-filled; fails if it exists
};

/**
 * An image with voxels of its own: in memory, on the memory of somebody else, or in a file.
 *
 * Limits, checked before anything is allocated: each size at most limits::cMaxSize, at most limits::cMaxNbVoxels
 * voxels, byte size without overflow. A size of 0 is allowed in memory and makes an image without voxels.
 *
 * Threads: any number may make views, read voxels, and run algorithms that read the image. Any number may write
 * voxels that no other thread reads or writes meanwhile. setInterpretation() and enforceSameCharacteristics() need
 * the image for themselves.
 */
class PXL_API Image : public ImageModel {
 public:
  /** New voxels in memory, 64-byte aligned and zero. @throws InvalidCall limits; std::bad_alloc */
  static std::shared_ptr<Image> New(VoxelTypes type, ImageSizes const& sizes, int interpretation = cGrey);

  /**
   * A view on foreign memory, which must outlive the image and every view on it, or be kept alive by `keepAlive`.
   * Voxels needn't be aligned. @throws InvalidCall limits, null, strides beyond the address space, or a column stride
   * other than one voxel
   */
  static std::shared_ptr<Image> OnMemory(void* voxels, VoxelTypes type, ImageSizes const& sizes,
                                         ImageStrides const& strides, int interpretation = cGrey,
                                         std::shared_ptr<void> keepAlive = nullptr);
  /** The same, read-only. */
  static std::shared_ptr<Image> OnMemory(void const* voxels, VoxelTypes type, ImageSizes const& sizes,
                                         ImageStrides const& strides, int interpretation = cGrey,
                                         std::shared_ptr<void> keepAlive = nullptr);

  /**
   * Voxels in a file, contiguous in C order from `offset` on, native byte order. Rows are read and written by
   * pread and pwrite: the image may be larger than memory. Counts as on disk.
   * @throws InvalidCall limits; RuntimeError the file can't be opened, isn't regular or is too short
   */
  static std::shared_ptr<Image> OnDisk(std::string const& path, FileModes mode, VoxelTypes type,
                                       ImageSizes const& sizes, unsigned long offset = 0, int interpretation = cGrey);

  /** A file mapped read-only: the pages come as they are read. Doesn't count as on disk. */
  static std::shared_ptr<Image> OnMappedFile(std::string const& path, VoxelTypes type, ImageSizes const& sizes,
                                             unsigned long offset = 0, int interpretation = cGrey);

  /** Voxels in a storage of any kind. @throws InvalidCall limits, null */
  static std::shared_ptr<Image> OnStorage(std::shared_ptr<access::VoxelStorage> storage, int interpretation = cGrey);

  ~Image() override;

  unsigned long getNumOf(Components const& component) const override;
  VoxelTypes getVoxelType() const override;
  int getInterpretation() const override;
  void setInterpretation(int interpretation);
  access::VoxelSource getSource() const override;
  /** Images made by New() get new, zero voxels if sizes or type change; the others only check. */
  void enforceSameCharacteristics(ImageModel const* other, int const& characteristics) override;

  ImageSizes getSizes() const;
  /** The voxels, or null when they are not in memory. */
  void const* getVoxels() const;
  /** The voxels, or null when they are not in memory or not writable. */
  void* getVoxels();
  ImageStrides getStrides() const;

 private:
  Image(std::shared_ptr<access::VoxelStorage> storage, bool isResizable, int interpretation);

  std::shared_ptr<access::VoxelStorage> m_storage;
  bool m_isResizable;
  int m_interpretation;
};

/** The byte strides of sizes packed in C order. */
PXL_API ImageStrides getPackedStrides(VoxelTypes type, ImageSizes const& sizes);

}  // namespace pxl
