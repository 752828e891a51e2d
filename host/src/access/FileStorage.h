#pragma once

#include <memory>
#include <string>

#include "access/Position.h"
#include "pxl/Image.h"
#include "pxl/access/VoxelStorage.h"

namespace pxl::access {

class FileDescriptor;

/** Voxels in a file, read with pread and written with pwrite. */
class FileStorage final : public VoxelStorage {
 public:
  FileStorage(VoxelTypes type, ImageSizes const& sizes, std::string const& path, FileModes mode,
              unsigned long offset);
  /** Reserves the space in an open, empty file, and then takes ownership of it. `name` is for messages. */
  FileStorage(VoxelTypes type, ImageSizes const& sizes, FileDescriptor&& file, std::string const& name);
  ~FileStorage() override;

  bool isOnDisk() const override { return true; }
  bool isWritable() const override { return m_isWritable; }
  long const* getStrides() const override { return m_key.strides; }
  StorageKey getKey() const override { return m_key; }
  void readRun(void* voxels, unsigned long count, Position const& position) const override;
  bool writeRun(void const* voxels, unsigned long count, Position const& position) override;

 private:
  long offsetOf(Position const& position) const;

  StorageKey m_key;
  int m_file;
  bool m_isWritable;
  std::string m_path;
};

/** Maps `bytes` of a file from `offset` on, read-only; `key` receives the identity of the place. */
std::shared_ptr<void> mapFile(std::string const& path, unsigned long bytes, unsigned long offset, StorageKey& key);

}  // namespace pxl::access
