#include "pxl/access/ViewInterface.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <mutex>

#include "access/CacheLine.h"
#include "access/Conversion.h"
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

// Voxels of type T in memory: a row is one copy away.
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
    std::memcpy(voxels, address, static_cast<unsigned long>(count) * sizeof(T));
    prefetch<cForReading>(address + m_strides[cRows], count);
  }

  // Whether the image may be written is asked when a writable view is made; views of one memory share this object.
  bool writeRowAt(long count, T const* voxels, long col, long row, long plan, long sequence,
                  long spectralSeries) override {
    bool isStored = true;
    PXL_PROBE(onWriteRow(this, voxels, count, col, row, plan, sequence, spectralSeries, isStored));
    if (!isStored) return false;
    char const* const address = addressOf(col, row, plan, sequence, spectralSeries);
    std::memcpy(const_cast<char*>(address), voxels, static_cast<unsigned long>(count) * sizeof(T));
    prefetch<cForWriting>(address + m_strides[cRows], count);
    return true;
  }

 private:
  static constexpr int cForReading = 0;
  static constexpr int cForWriting = 1;

  // The next row, most likely: what a kernel does between two rows would else end the processor's own look ahead. Its
  // beginning is enough; writing gains by it as much as reading does (a tenth of a pass over 8-bit voxels).
  template <int Use>
  static void prefetch(char const* address, long count) {
    constexpr long cLine = 64;
    constexpr long cMaxBytes = 1024;
    long const bytes = std::min(count * static_cast<long>(sizeof(T)), cMaxBytes);
    for (long i = 0; i < bytes; i += cLine) __builtin_prefetch(address + i, Use);
  }

  char const* addressOf(long col, long row, long plan, long sequence, long spectralSeries) const {
    return m_voxels + col * static_cast<long>(sizeof(T)) + row * m_strides[cRows] + plan * m_strides[cPlans] +
           sequence * m_strides[cSequence] + spectralSeries * m_strides[cSpectralSeries];
  }

  std::shared_ptr<VoxelStorage> m_storage;
  char const* m_voxels;
  long m_strides[cNbComponents];
};

// Voxels of any type anywhere: rows go through a small buffer when their type must change.
template <class T>
class alignas(cCacheLine) StorageInterface final : public ViewInterface<T> {
 public:
  explicit StorageInterface(VoxelSource const& source)
      : ViewInterface<T>(source.size),
        m_source(source),
        m_storedSize(static_cast<long>(helper::getSizeOf(source.storage->getVoxelType()))),
        m_fromStored(getConverter(cType, source.storage->getVoxelType())),
        m_toStored(getConverter(source.storage->getVoxelType(), cType)) {}

  void readRow(T* voxels, long count, long col, long row, long plan, long sequence,
               long spectralSeries) const override {
    Position position = positionOf(col, row, plan, sequence, spectralSeries);
    if (!m_fromStored) return m_source.storage->readRun(voxels, static_cast<unsigned long>(count), position.values);
    alignas(16) char buffer[cBufferSize];
    for (long done = 0; done < count;) {
      long const part = partOf(count - done);
      m_source.storage->readRun(buffer, static_cast<unsigned long>(part), position.values);
      m_fromStored(voxels + done, buffer, part);
      done += part;
      position.values[cColumns] += static_cast<unsigned long>(part);
    }
  }

  bool writeRowAt(long count, T const* voxels, long col, long row, long plan, long sequence,
                  long spectralSeries) override {
    bool isStored = true;
    PXL_PROBE(onWriteRow(this, voxels, count, col, row, plan, sequence, spectralSeries, isStored));
    if (!isStored) return false;
    Position position = positionOf(col, row, plan, sequence, spectralSeries);
    if (!m_toStored) return m_source.storage->writeRun(voxels, static_cast<unsigned long>(count), position.values);
    alignas(16) char buffer[cBufferSize];
    for (long done = 0; done < count;) {
      long const part = partOf(count - done);
      m_toStored(buffer, voxels + done, part);
      if (!m_source.storage->writeRun(buffer, static_cast<unsigned long>(part), position.values)) return false;
      done += part;
      position.values[cColumns] += static_cast<unsigned long>(part);
    }
    return true;
  }

 private:
  static constexpr VoxelTypes cType = helper::DataTypeToVoxelTypeEnum<T>::cVoxelType;
  static constexpr long cBufferSize = 8192;

  struct Position {
    unsigned long values[cNbComponents];
  };

  long partOf(long count) const { return count < cBufferSize / m_storedSize ? count : cBufferSize / m_storedSize; }

  Position positionOf(long col, long row, long plan, long sequence, long spectralSeries) const {
    long const relative[] = {col, row, plan, sequence, spectralSeries};
    Position position;
    for (int i = 0; i < cNbComponents; ++i)
      position.values[i] = m_source.begin[i] + static_cast<unsigned long>(relative[i]);
    return position;
  }

  VoxelSource m_source;
  long m_storedSize;
  Converter m_fromStored;
  Converter m_toStored;
};

using Key = std::array<unsigned long, 15>;

Key makeKey(VoxelSource const& source) {
  StorageKey const place = source.storage->getKey();
  unsigned long origin = place.origin;
  Key key{place.space[0], place.space[1], place.access, 0,
          static_cast<unsigned long>(source.storage->getVoxelType())};
  for (std::size_t i = 0; i < cNbComponents; ++i) {
    unsigned long const stride = static_cast<unsigned long>(place.strides[i]);
    origin += source.begin[i] * stride;
    key[5 + i] = source.size[i];
    key[10 + i] = source.size[i] == 1 ? 0 : stride;
  }
  key[3] = origin;
  return key;
}

// The living interface objects of one voxel type. Entries go with their objects. Never destroyed: a view may outlive
// the static objects of the host.
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
    // Made before the lock is taken, as its deleter takes it, also when the pointer can't be made.
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
    // Another thread may have made a new object for the key since this one lost its last owner.
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
