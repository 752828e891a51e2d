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
  void readRun(void* voxels, unsigned long count, Position const& position) const override;
  bool writeRun(void const* voxels, unsigned long count, Position const& position) override;

  void settle(Settling occasion) override;

  /**
   * A view that reads is being made, which sees what filters before it wrote.
   * @throws RuntimeError what they wrote can't be stored
   */
  void addReader();
  /**
   * A view that writes is being made. Where a view that reads lives that starts a collection, whose number is
   * returned for endCollection(); else 0.
   * @throws RuntimeError there is no room for the collection
   */
  unsigned long addWriter(ExtraMemory getExtraMemory);
  void removeView(bool isWritable);
  /** Stores what was collected, or drops it, unless that was done before. Throws RuntimeError when it can't. */
  void endCollection(unsigned long number, bool isKept);

 private:
  class Registry;

  AdapterStorage(VoxelSource const& base, VoxelTypes type);

  void finish(bool isKept);

  ConvertedWindow m_base;
  StorageKey m_key;
  std::mutex m_mutex;
  unsigned long m_nbReaders = 0;
  unsigned long m_nbWriters = 0;
  unsigned long m_nbCollections = 0;  ///< so far; the last one's number
  std::unique_ptr<Collection> m_owned;
  std::atomic<Collection*> m_collection;  ///< null as soon as the place has what was collected
  /** Storages of the same place: its voxels may belong to any of them. */
  std::vector<std::shared_ptr<VoxelStorage>> m_others;
};

}  // namespace pxl::access
