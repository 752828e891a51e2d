#pragma once

#include <memory>
#include <string>

#include "pxl/Image.h"
#include "pxl/access/VoxelStorage.h"

namespace pxl::access {

class FileDescriptor;

/** Sizes as the array that the contract's operations take. */
struct PlainSizes {
  explicit PlainSizes(ImageSizes const& sizes) {
    for (std::size_t i = 0; i < cNbComponents; ++i) values[i] = sizes[i];
  }
  unsigned long values[cNbComponents];
};

/** Voxels in memory. */
class MemoryStorage final : public VoxelStorage {
 public:
  /** `owner` keeps the memory; `key` is null for memory that is only known by its address. */
  MemoryStorage(VoxelTypes type, ImageSizes const& sizes, ImageStrides const& strides, char* voxels, bool isWritable,
                std::shared_ptr<void> owner, StorageKey const* key);

  bool isOnDisk() const override { return false; }
  bool isWritable() const override { return m_isWritable; }
  char const* getMemory() const override { return m_voxels; }
  long const* getStrides() const override { return m_key.strides; }
  StorageKey getKey() const override { return m_key; }
  void readRun(void* voxels, unsigned long count, unsigned long const (&position)[cNbComponents]) const override;
  bool writeRun(void const* voxels, unsigned long count, unsigned long const (&position)[cNbComponents]) override;

 private:
  char* addressOf(unsigned long const (&position)[cNbComponents]) const;

  StorageKey m_key;
  char* m_voxels;
  bool m_isWritable;
  std::shared_ptr<void> m_owner;
};

/** Voxels in a file, read by pread and written by pwrite. */
class FileStorage final : public VoxelStorage {
 public:
  FileStorage(VoxelTypes type, ImageSizes const& sizes, std::string const& path, FileModes mode,
              unsigned long offset);
  /** Reserves the space in an open, empty file, and takes it over when that is done. `name` is for messages. */
  FileStorage(VoxelTypes type, ImageSizes const& sizes, FileDescriptor&& file, std::string const& name);
  ~FileStorage() override;

  bool isOnDisk() const override { return true; }
  bool isWritable() const override { return m_isWritable; }
  long const* getStrides() const override { return m_key.strides; }
  StorageKey getKey() const override { return m_key; }
  void readRun(void* voxels, unsigned long count, unsigned long const (&position)[cNbComponents]) const override;
  bool writeRun(void const* voxels, unsigned long count, unsigned long const (&position)[cNbComponents]) override;

 private:
  long offsetOf(unsigned long const (&position)[cNbComponents]) const;

  StorageKey m_key;
  int m_file;
  bool m_isWritable;
  std::string m_path;
};

/** Zero-filled memory with a 64-byte aligned start. Large pieces come as whole pages, huge ones where possible. */
std::shared_ptr<void> allocateVoxels(unsigned long bytes);

/** Maps `bytes` of a file from `offset` on, read-only; `key` receives the place. */
std::shared_ptr<void> mapFile(std::string const& path, unsigned long bytes, unsigned long offset, StorageKey& key);

/** The strides as they identify a place: those of dimensions of size 1 play no part. */
void setKeyStrides(StorageKey& key, ImageSizes const& sizes, ImageStrides const& strides);

/** Voxels times bytes per voxel. @throws InvalidCall a limit of the host is exceeded or the type has no images */
unsigned long checkLimits(VoxelTypes type, ImageSizes const& sizes);

}  // namespace pxl::access
