#pragma once

#include <memory>

#include "pxl/Export.h"
#include "pxl/Noncopyable.h"
#include "pxl/VoxelTypes.h"

namespace pxl::access {

/** How a place is accessed. A file that is both mapped and opened is one place with two accesses. */
enum class StorageAccesses : unsigned long {
  cAddress = 0,  ///< in memory, including mapped files
  cReadOnlyFile = 1,
  cWritableFile = 2
};

/** The identity of the voxels of a storage: equal keys mean the same voxels. */
struct StorageKey {
  /** The address space: (0, 0) for memory, (device, inode) for a file, (address, 0) for anything else. */
  unsigned long space[2];
  StorageAccesses access;
  /** The types that adapters present the place as; 0 without adapters. */
  unsigned long adaptation;
  /** Address or file offset of the first voxel. */
  unsigned long origin;
  /** Bytes from one voxel to the next in each dimension; 0 in dimensions of size 1. */
  long strides[cNbComponents];
};

/** When buffered writes have to be stored, see VoxelStorage::settle(). */
enum class Settling {
  cNextFilter,  ///< a read view is made: the writes of earlier filters, unless a writable view still exists
  cNextPass     ///< a filter begins to read its own writes
};

/**
 * Where the voxels of an image are kept. Images, proxies and views share it; the last of them destroys it. The voxels
 * of a row are adjacent; the strides of the four outer dimensions are arbitrary.
 */
class PXL_API VoxelStorage : private Noncopyable {
 public:
  virtual ~VoxelStorage();

  VoxelTypes getVoxelType() const;
  /** Sizes in the order of Components. */
  unsigned long const* getSizes() const;
  virtual bool isOnDisk() const = 0;
  virtual bool isWritable() const = 0;

  /** The address of voxel 0 if the voxels are in memory, else null. */
  virtual char const* getMemory() const;
  /** Bytes from one voxel to the next in each dimension, as in getKey(). */
  virtual long const* getStrides() const = 0;
  virtual StorageKey getKey() const = 0;

  /**
   * Reads `count` adjacent voxels of the stored type from `position`, in the order of Components.
   * @throws RuntimeError the storage fails
   */
  virtual void readRun(void* voxels, unsigned long count, unsigned long const (&position)[cNbComponents]) const = 0;
  /** The reverse. @return false if the storage fails */
  virtual bool writeRun(void const* voxels, unsigned long count, unsigned long const (&position)[cNbComponents]) = 0;

  /**
   * Stores buffered writes so that they can be read. Here there are none. Thread-safe as long as no thread writes.
   * @throws RuntimeError they can't be stored
   */
  virtual void settle(Settling occasion);

  /**
   * Bytes of a voxel as it is stored; differs from the size of the type if the voxels are presented as another type.
   */
  virtual unsigned long getStoredVoxelSize() const;

 protected:
  VoxelStorage(VoxelTypes type, unsigned long const (&sizes)[cNbComponents]);

 private:
  VoxelTypes m_type;
  unsigned long m_sizes[cNbComponents];
};

/** A window of a storage, from which a view is made. */
struct VoxelSource {
  std::shared_ptr<VoxelStorage> storage;
  unsigned long begin[cNbComponents];
  unsigned long size[cNbComponents];
  bool isWritable;
};

}  // namespace pxl::access
