#pragma once

#include <memory>

#include "pxl/Export.h"
#include "pxl/Noncopyable.h"
#include "pxl/VoxelTypes.h"

namespace pxl::access {

/** How a place is reached: the same file mapped and opened is one place, but not one and the same access. */
enum class StorageAccesses : unsigned long {
  cAddress = 0,  ///< in memory; mapped files too
  cReadOnlyFile = 1,
  cWritableFile = 2
};

/** What makes two storages the same voxels: equal keys mean equal places. */
struct StorageKey {
  /** The place's name: (0, 0) for memory, (device, inode) for a file, (address, 0) for anything else. */
  unsigned long space[2];
  StorageAccesses access;
  /** Where adapters show the place as another type, which types they show; else 0. */
  unsigned long adaptation;
  /** Address or file offset of the first voxel. */
  unsigned long origin;
  /** Bytes from one voxel to the next in each dimension; 0 in dimensions of size 1. */
  long strides[cNbComponents];
};

/** When what a storage keeps apart has to be stored, see VoxelStorage::settle(). */
enum class Settling {
  cNextFilter,  ///< a view that reads is being made: what earlier filters wrote, unless a view that writes lives
  cNextPass     ///< a filter begins to read what it wrote itself
};

/**
 * Where the voxels of an image are kept. Images, proxies and views share it; it dies with the last of them. Voxels
 * of one row are adjacent, the four outer dimensions may lie at any distance.
 */
class PXL_API VoxelStorage : private Noncopyable {
 public:
  virtual ~VoxelStorage();

  VoxelTypes getVoxelType() const;
  /** Sizes in the order of Components. */
  unsigned long const* getSizes() const;
  virtual bool isOnDisk() const = 0;
  virtual bool isWritable() const = 0;

  /** The address of voxel 0 and the byte strides, when the voxels are in memory; else null. */
  virtual char const* getMemory() const;
  virtual long const* getStrides() const = 0;
  virtual StorageKey getKey() const = 0;

  /** Copies `count` voxels of one row, stored type, position in the order of Components. Throws RuntimeError. */
  virtual void readRun(void* voxels, unsigned long count, unsigned long const (&position)[cNbComponents]) const = 0;
  /** The reverse; false on failure. */
  virtual bool writeRun(void const* voxels, unsigned long count, unsigned long const (&position)[cNbComponents]) = 0;

  /**
   * Makes readable what was written but is kept apart; here there is nothing. By many threads at once, none of which
   * writes. Throws RuntimeError when it can't be stored.
   */
  virtual void settle(Settling occasion);

  /** Bytes of a voxel where it is kept; other than the type's when the voxels are presented as another type. */
  virtual unsigned long getStoredVoxelSize() const;

 protected:
  VoxelStorage(VoxelTypes type, unsigned long const (&sizes)[cNbComponents]);

 private:
  VoxelTypes m_type;
  unsigned long m_sizes[cNbComponents];
};

/** A window of a storage: what an image model gives to a view. */
struct VoxelSource {
  std::shared_ptr<VoxelStorage> storage;
  unsigned long begin[cNbComponents];
  unsigned long size[cNbComponents];
  bool isWritable;
};

}  // namespace pxl::access
