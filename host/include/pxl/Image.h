#pragma once

#include <array>
#include <memory>
#include <string>

#include "pxl/ImageModel.h"

namespace pxl {

/** Sizes in the order of Components: columns, rows, plans, sequence, spectral series. */
using ImageSizes = std::array<unsigned long, cNbComponents>;
/** Bytes from one voxel to the next in each dimension, in the order of Components. Strides may be negative. */
using ImageStrides = std::array<long, cNbComponents>;

/** How a file is opened as an image. */
enum class FileModes {
  cReadOnly,
  cReadWrite,
  cCreate  ///< created with its space reserved, zero-filled; fails if the file exists
};

/**
 * An image with its own voxels: in memory, in memory of the caller, or in a file.
 *
 * Limits, checked before anything is allocated: each size is at most limits::cMaxSize, the number of voxels is at
 * most limits::cMaxNbVoxels, and the size in bytes doesn't overflow. A size of 0 is allowed in memory and gives an
 * image without voxels.
 *
 * Threads: any number of threads may make views, read voxels, and run algorithms that read the image. They may write
 * voxels that no other thread reads or writes at the same time. setInterpretation() and enforceSameCharacteristics()
 * need exclusive access.
 */
class PXL_API Image : public ImageModel {
 public:
  /**
   * New voxels in memory, 64-byte aligned and zero.
   * @throws InvalidCall    a limit is exceeded
   * @throws std::bad_alloc there isn't enough memory
   */
  static std::shared_ptr<Image> New(VoxelTypes type, ImageSizes const& sizes, int interpretation = cGrey);

  /**
   * Voxels in memory of the caller, not copied. The memory must outlive the image and all views on it, unless
   * `keepAlive` owns it. Voxels needn't be aligned.
   * @throws InvalidCall a limit is exceeded, `voxels` is null, the strides reach beyond the address space, or the
   *                     column stride isn't one voxel
   */
  static std::shared_ptr<Image> OnMemory(void* voxels, VoxelTypes type, ImageSizes const& sizes,
                                         ImageStrides const& strides, int interpretation = cGrey,
                                         std::shared_ptr<void> keepAlive = nullptr);
  /** The same, read-only. */
  static std::shared_ptr<Image> OnMemory(void const* voxels, VoxelTypes type, ImageSizes const& sizes,
                                         ImageStrides const& strides, int interpretation = cGrey,
                                         std::shared_ptr<void> keepAlive = nullptr);

  /**
   * Voxels in a file, contiguous in C order from byte `offset` on, in native byte order. Rows are read and written
   * with pread and pwrite, so the image may be larger than memory. Counts as on disk.
   * @throws InvalidCall  a limit is exceeded
   * @throws RuntimeError the file can't be opened, isn't a regular file, or is too short
   */
  static std::shared_ptr<Image> OnDisk(std::string const& path, FileModes mode, VoxelTypes type,
                                       ImageSizes const& sizes, unsigned long offset = 0, int interpretation = cGrey);

  /**
   * The same for a file that is mapped read-only: its pages are loaded on first access. Doesn't count as on disk.
   * @throws InvalidCall  a limit is exceeded
   * @throws RuntimeError the file can't be opened or mapped, isn't a regular file, or is too short
   */
  static std::shared_ptr<Image> OnMappedFile(std::string const& path, VoxelTypes type, ImageSizes const& sizes,
                                             unsigned long offset = 0, int interpretation = cGrey);

  /**
   * Voxels in a storage of any kind.
   * @throws InvalidCall a limit is exceeded, or `storage` is null
   */
  static std::shared_ptr<Image> OnStorage(std::shared_ptr<access::VoxelStorage> storage, int interpretation = cGrey);

  ~Image() override;

  unsigned long getNumOf(Components const& component) const override;
  VoxelTypes getVoxelType() const override;
  int getInterpretation() const override;
  void setInterpretation(int interpretation);
  access::VoxelSource getSource() const override;
  /**
   * An image made by New() gets new, zero voxels if sizes or type change; all others only check.
   * @throws InvalidCall    see ImageModel; or a limit is exceeded
   * @throws std::bad_alloc there isn't enough memory
   */
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
