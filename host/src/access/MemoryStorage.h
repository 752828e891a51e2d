#pragma once

#include <memory>

#include "access/Position.h"
#include "pxl/Image.h"
#include "pxl/access/VoxelStorage.h"

namespace pxl::access {

/** Voxels in memory. */
class MemoryStorage final : public VoxelStorage {
 public:
  /** `owner` keeps the memory alive; `key` is null for memory that is identified by its address. */
  MemoryStorage(VoxelTypes type, ImageSizes const& sizes, ImageStrides const& strides, char* voxels, bool isWritable,
                std::shared_ptr<void> owner, StorageKey const* key);

  bool isOnDisk() const override { return false; }
  bool isWritable() const override { return m_isWritable; }
  char const* getMemory() const override { return m_voxels; }
  long const* getStrides() const override { return m_key.strides; }
  StorageKey getKey() const override { return m_key; }
  void readRun(void* voxels, unsigned long count, Position const& position) const override;
  bool writeRun(void const* voxels, unsigned long count, Position const& position) override;

 private:
  char* addressOf(Position const& position) const;

  StorageKey m_key;
  char* m_voxels;
  bool m_isWritable;
  std::shared_ptr<void> m_owner;
};

}  // namespace pxl::access
