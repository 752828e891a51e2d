#include "access/AdapterStorage.h"

#include <algorithm>
#include <array>
#include <map>

namespace pxl::access {
namespace {

// The key of the window. Views through adapters differ from those on the image, and from those of other types.
StorageKey makeKey(VoxelSource const& base) {
  constexpr unsigned long cNbAdaptations = 16;  // more than there are types
  StorageKey key = base.storage->getKey();
  key.adaptation = key.adaptation * cNbAdaptations + 1 + static_cast<unsigned long>(base.storage->getVoxelType());
  for (int i = 0; i < cNbComponents; ++i) {
    key.origin += base.begin[i] * static_cast<unsigned long>(key.strides[i]);
    if (base.size[i] == 1) key.strides[i] = 0;
  }
  return key;
}

}  // namespace

// The existing adapters. Never destroyed, as views may outlive the static objects of the host.
class AdapterStorage::Registry {
 public:
  static Registry& get() {
    static Registry* const registry = new Registry;
    return *registry;
  }

  std::shared_ptr<AdapterStorage> find(VoxelSource const& base, VoxelTypes type) {
    Key const key = makeMapKey(base, type);
    std::lock_guard<std::mutex> const lock(m_mutex);
    forgetDead();
    std::weak_ptr<AdapterStorage>& entry = m_storages[key];
    if (auto known = entry.lock()) {
      auto& others = known->m_others;
      if (std::find(others.begin(), others.end(), base.storage) == others.end()) others.push_back(base.storage);
      return known;
    }
    std::shared_ptr<AdapterStorage> made(new AdapterStorage(base, type));
    entry = made;
    return made;
  }

 private:
  using Key = std::array<unsigned long, 16>;

  static Key makeMapKey(VoxelSource const& base, VoxelTypes type) {
    StorageKey const place = makeKey(base);
    Key key{place.space[0],   place.space[1], static_cast<unsigned long>(place.access),
            place.adaptation, place.origin,   static_cast<unsigned long>(type)};
    for (std::size_t i = 0; i < cNbComponents; ++i) {
      key[6 + i] = base.size[i];
      key[11 + i] = static_cast<unsigned long>(place.strides[i]);
    }
    return key;
  }

  void forgetDead() {
    for (auto entry = m_storages.begin(); entry != m_storages.end();)
      entry = entry->second.expired() ? m_storages.erase(entry) : std::next(entry);
  }

  std::mutex m_mutex;
  std::map<Key, std::weak_ptr<AdapterStorage>> m_storages;
};

std::shared_ptr<AdapterStorage> AdapterStorage::get(VoxelSource const& base, VoxelTypes type) {
  return Registry::get().find(base, type);
}

AdapterStorage::AdapterStorage(VoxelSource const& base, VoxelTypes type)
    : VoxelStorage(type, toPosition(base.size).at),
      m_base(base, type),
      m_key(makeKey(base)),
      m_writeBuffer(nullptr),
      m_others{base.storage} {}

void AdapterStorage::readRun(void* voxels, unsigned long count, Position const& position) const {
  m_base.read(voxels, count, position);
}

bool AdapterStorage::writeRun(void const* voxels, unsigned long count, Position const& position) {
  WriteBuffer* const buffer = m_writeBuffer.load(std::memory_order_acquire);
  return buffer ? buffer->write(voxels, count, position) : m_base.write(voxels, count, position);
}

void AdapterStorage::addReader() {
  settle(Settling::cNextFilter);
  std::lock_guard<std::mutex> const lock(m_mutex);
  ++m_nbReaders;
}

unsigned long AdapterStorage::addWriter(ExtraMemory getExtraMemory) {
  std::lock_guard<std::mutex> const lock(m_mutex);
  bool const isStart = m_nbReaders != 0 && !m_owned;
  if (isStart) {
    m_owned = std::make_unique<WriteBuffer>(m_base.getSource(), getVoxelType(), getExtraMemory);
    ++m_nbWriteBuffers;
    m_writeBuffer.store(m_owned.get(), std::memory_order_release);
  }
  ++m_nbWriters;
  return isStart ? m_nbWriteBuffers : 0;
}

void AdapterStorage::removeView(bool isWritable) {
  std::lock_guard<std::mutex> const lock(m_mutex);
  --(isWritable ? m_nbWriters : m_nbReaders);
}

// A pass in place holds back what its neighbours still read, so it needs no buffer once it reads its own results.
// An empty buffer is not ended: the filter may be about to work in place.
void AdapterStorage::settle(Settling occasion) {
  m_base.getSource().storage->settle(occasion);
  if (!m_writeBuffer.load(std::memory_order_acquire)) return;
  std::lock_guard<std::mutex> const lock(m_mutex);
  bool const isDue = occasion == Settling::cNextPass || m_nbWriters == 0;
  if (m_owned && isDue && !m_owned->isEmpty()) finish(true);
}

void AdapterStorage::endWriteBuffer(unsigned long number, bool isKept) {
  std::lock_guard<std::mutex> const lock(m_mutex);
  if (m_owned && number == m_nbWriteBuffers) finish(isKept);
}

// Readers that don't take the lock see the null pointer only after the last voxel is stored.
void AdapterStorage::finish(bool isKept) {
  std::unique_ptr<WriteBuffer> const buffer = std::move(m_owned);
  struct Forget {
    ~Forget() { pointer.store(nullptr, std::memory_order_release); }
    std::atomic<WriteBuffer*>& pointer;
  } const forget{m_writeBuffer};
  if (isKept) buffer->commit();
}

}  // namespace pxl::access
