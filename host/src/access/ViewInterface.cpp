#include "pxl/access/ViewInterface.h"

#include <array>
#include <cstring>
#include <map>
#include <mutex>

#include "access/CacheLine.h"
#include "access/ConvertedWindow.h"
#include "access/Prefetch.h"
#include "access/ViewInterfaces.h"
#include "instrument/Instrument.h"

namespace pxl::access {

template <class T>
ViewInterface<T>::ViewInterface(unsigned long const (&sizes)[5])
    : nbCols(static_cast<long>(sizes[cColumns])),
      nbRows(static_cast<long>(sizes[cRows])),
      nbPlans(static_cast<long>(sizes[cPlans])),
      nbSequence(static_cast<long>(sizes[cSequence])),
      nbSpectralSeries(static_cast<long>(sizes[cSpectralSeries])) {}

template <class T>
ViewInterface<T>::~ViewInterface() = default;

namespace {

// Voxels of type T in memory: reading a row is one copy.
template <class T>
class alignas(cCacheLine) MemoryInterface final : public ViewInterface<T> {
 public:
  explicit MemoryInterface(VoxelSource const& source)
      : ViewInterface<T>(source.size), m_storage(source.storage), m_voxels(source.storage->getMemory()) {
    for (int i = 0; i < cNbComponents; ++i) {
      m_strides[i] = source.storage->getStrides()[i];
      m_voxels += static_cast<long>(source.begin[i]) * m_strides[i];
    }
  }

  void readRow(T* voxels, long count, long col, long row, long plan, long sequence,
               long spectralSeries) const override {
    char const* const address = addressOf(col, row, plan, sequence, spectralSeries);
    unsigned long const bytes = static_cast<unsigned long>(count) * sizeof(T);
    std::memcpy(voxels, address, bytes);
    prefetchRow<cForReading>(address + m_strides[cRows], bytes);
  }

  // Writability is checked when a writable view is made; all views of one memory share this object.
  bool writeRowAt(long count, T const* voxels, long col, long row, long plan, long sequence,
                  long spectralSeries) override {
    bool isStored = true;
    PXL_PROBE(onWriteRow(this, voxels, count, col, row, plan, sequence, spectralSeries, isStored));
    if (!isStored) return false;
    char const* const address = addressOf(col, row, plan, sequence, spectralSeries);
    unsigned long const bytes = static_cast<unsigned long>(count) * sizeof(T);
    std::memcpy(const_cast<char*>(address), voxels, bytes);
    prefetchRow<cForWriting>(address + m_strides[cRows], bytes);
    return true;
  }

 private:
  char const* addressOf(long col, long row, long plan, long sequence, long spectralSeries) const {
    return m_voxels + col * static_cast<long>(sizeof(T)) + row * m_strides[cRows] + plan * m_strides[cPlans] +
           sequence * m_strides[cSequence] + spectralSeries * m_strides[cSpectralSeries];
  }

  std::shared_ptr<VoxelStorage> m_storage;
  char const* m_voxels;
  long m_strides[cNbComponents];
};

// Voxels of any type in any storage.
template <class T>
class alignas(cCacheLine) StorageInterface final : public ViewInterface<T> {
 public:
  explicit StorageInterface(VoxelSource const& source)
      : ViewInterface<T>(source.size), m_window(source, helper::DataTypeToVoxelTypeEnum<T>::cVoxelType) {}

  void readRow(T* voxels, long count, long col, long row, long plan, long sequence,
               long spectralSeries) const override {
    auto const index = [](long value) { return static_cast<unsigned long>(value); };
    m_window.read(voxels, index(count),
                  {index(col), index(row), index(plan), index(sequence), index(spectralSeries)});
  }

  bool writeRowAt(long count, T const* voxels, long col, long row, long plan, long sequence,
                  long spectralSeries) override {
    bool isStored = true;
    PXL_PROBE(onWriteRow(this, voxels, count, col, row, plan, sequence, spectralSeries, isStored));
    auto const index = [](long value) { return static_cast<unsigned long>(value); };
    return isStored && m_window.write(voxels, index(count),
                                      {index(col), index(row), index(plan), index(sequence), index(spectralSeries)});
  }

 private:
  ConvertedWindow m_window;
};

using Key = std::array<unsigned long, 16>;

Key makeKey(VoxelSource const& source) {
  StorageKey const place = source.storage->getKey();
  unsigned long origin = place.origin;
  Key key{place.space[0],
          place.space[1],
          static_cast<unsigned long>(place.access),
          place.adaptation,
          0,
          static_cast<unsigned long>(source.storage->getVoxelType())};
  for (std::size_t i = 0; i < cNbComponents; ++i) {
    unsigned long const stride = static_cast<unsigned long>(place.strides[i]);
    origin += source.begin[i] * stride;
    key[6 + i] = source.size[i];
    key[11 + i] = source.size[i] == 1 ? 0 : stride;
  }
  key[4] = origin;
  return key;
}

// The existing interface objects of one voxel type. Entries are removed with their objects. Never destroyed: a view
// may outlive the static objects of the host.
template <class T>
class Registry {
 public:
  static Registry& get() {
    static Registry* const registry = new Registry;
    return *registry;
  }

  std::shared_ptr<ViewInterface<T>> find(VoxelSource const& source) {
    Key const key = makeKey(source);
    if (auto known = findKnown(key)) return known;
    // Made before the lock is taken: its deleter takes the lock, even if the shared pointer can't be made.
    std::shared_ptr<ViewInterface<T>> made(make(source), [this, key](ViewInterface<T>* object) {
      forget(key);
      delete object;
    });
    std::lock_guard<std::mutex> lock(m_mutex);
    std::weak_ptr<ViewInterface<T>>& entry = m_interfaces[key];
    if (auto known = entry.lock()) return known;
    entry = made;
    return made;
  }

 private:
  std::shared_ptr<ViewInterface<T>> findKnown(Key const& key) {
    std::lock_guard<std::mutex> lock(m_mutex);
    auto const entry = m_interfaces.find(key);
    return entry == m_interfaces.end() ? nullptr : entry->second.lock();
  }

  static ViewInterface<T>* make(VoxelSource const& source) {
    bool const isDirect = source.storage->getMemory() != nullptr &&
                          source.storage->getVoxelType() == helper::DataTypeToVoxelTypeEnum<T>::cVoxelType;
    if (isDirect) return new MemoryInterface<T>(source);
    return new StorageInterface<T>(source);
  }

  void forget(Key const& key) {
    std::lock_guard<std::mutex> lock(m_mutex);
    auto const entry = m_interfaces.find(key);
    // Another thread may have made a new object for the key since the last owner of this one released it.
    if (entry != m_interfaces.end() && entry->second.expired()) m_interfaces.erase(entry);
  }

  std::mutex m_mutex;
  std::map<Key, std::weak_ptr<ViewInterface<T>>> m_interfaces;
};

}  // namespace

template <class T>
std::shared_ptr<ViewInterface<T>> getViewInterface(VoxelSource const& source) {
  return Registry<T>::get().find(source);
}

#define PXL_INSTANTIATE(T)         \
  template class ViewInterface<T>; \
  template std::shared_ptr<ViewInterface<T>> getViewInterface<T>(VoxelSource const&);
PXL_FOR_EACH_VOXEL_TYPE(PXL_INSTANTIATE)
#undef PXL_INSTANTIATE

}  // namespace pxl::access
