#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "access/ConvertedWindow.h"
#include "access/WriteBuffer.h"

namespace pxl::access {

/**
 * A window of a storage as voxels of another type, see ImageModelAdapter. There is at most one object for each place
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
   * A read view is being made. It sees what earlier filters wrote.
   * @throws RuntimeError their writes can't be stored
   */
  void addReader();
  /**
   * A writable view is being made. If a read view exists, this starts a buffer and returns its number for
   * endWriteBuffer(); else it returns 0.
   * @throws RuntimeError there is no room for the buffer
   */
  unsigned long addWriter(ExtraMemory getExtraMemory);
  void removeView(bool isWritable);
  /**
   * Stores or discards the buffer, unless that was done before.
   * @throws RuntimeError it can't be stored
   */
  void endWriteBuffer(unsigned long number, bool isKept);

 private:
  class Registry;

  AdapterStorage(VoxelSource const& base, VoxelTypes type);

  void finish(bool isKept);

  ConvertedWindow m_base;
  StorageKey m_key;
  std::mutex m_mutex;
  unsigned long m_nbReaders = 0;
  unsigned long m_nbWriters = 0;
  unsigned long m_nbWriteBuffers = 0;  ///< so far, and the number of the last one
  std::unique_ptr<WriteBuffer> m_owned;
  std::atomic<WriteBuffer*> m_writeBuffer;  ///< null as soon as all of it is stored
  /** Storages of the same place: its voxels may be owned by any of them. */
  std::vector<std::shared_ptr<VoxelStorage>> m_others;
};

}  // namespace pxl::access
