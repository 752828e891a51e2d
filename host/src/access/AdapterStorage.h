#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "access/Collection.h"
#include "access/ConvertedWindow.h"

namespace pxl::access {

/**
 * A window of a storage as voxels of another type, see ImageModelAdapter. There is one living object for each place
 * and type, so that the views of all its adapters share their interface.
 */
class AdapterStorage final : public VoxelStorage {
 public:
  static std::shared_ptr<AdapterStorage> get(VoxelSource const& base, VoxelTypes type);

  bool isOnDisk() const override { return m_base.getSource().storage->isOnDisk(); }
  bool isWritable() const override { return m_base.getSource().storage->isWritable(); }
  long const* getStrides() const override { return m_key.strides; }
  StorageKey getKey() const override { return m_key; }
  unsigned long getStoredVoxelSize() const override { return m_base.getSource().storage->getStoredVoxelSize(); }
  void readRun(void* voxels, unsigned long count, unsigned long const (&position)[cNbComponents]) const override;
  bool writeRun(void const* voxels, unsigned long count, unsigned long const (&position)[cNbComponents]) override;

  /** A view that reads is being made. */
  void noteReader() { m_hasReader.store(true, std::memory_order_relaxed); }
  /**
   * A view that writes is being made. True if that starts a collection, which the caller then has to end.
   * @throws RuntimeError there is no room for the collection
   */
  bool noteWriter();
  /** Stores what was collected, or drops it. Throws RuntimeError when the image can't be written. */
  void endCollection(bool isKept);

 private:
  class Registry;

  AdapterStorage(VoxelSource const& base, VoxelTypes type);

  ConvertedWindow m_base;
  StorageKey m_key;
  std::atomic<bool> m_hasReader;
  std::mutex m_mutex;
  std::unique_ptr<Collection> m_owned;
  std::atomic<Collection*> m_collection;
  /** Storages of the same place: its voxels may belong to any of them. */
  std::vector<std::shared_ptr<VoxelStorage>> m_others;
};

}  // namespace pxl::access
