#include "access/ConvertedWindow.h"

#include <algorithm>
#include <cstring>

#include "access/Prefetch.h"

namespace pxl::access {
namespace {

// Whether all voxels of the window are aligned to their size, as converters require. Memory of the caller may not be.
bool isAligned(char const* memory, long const* strides, unsigned long size) {
  bool isAligned = reinterpret_cast<unsigned long>(memory) % size == 0;
  for (int i = 0; i < cNbComponents; ++i) isAligned = isAligned && strides[i] % static_cast<long>(size) == 0;
  return isAligned;
}

}  // namespace

void ConvertedWindow::move(Converter convert, void* to, void const* from, unsigned long count) const {
  if (convert)
    convert(to, from, static_cast<long>(count));
  else
    std::memcpy(to, from, count * m_size);
}

ConvertedWindow::ConvertedWindow(VoxelSource const& source, VoxelTypes type)
    : m_source(source),
      m_size(helper::getSizeOf(type)),
      m_storedSize(helper::getSizeOf(source.storage->getVoxelType())),
      m_fromStored(getConverter(type, source.storage->getVoxelType())),
      m_toStored(getConverter(source.storage->getVoxelType(), type)),
      m_strides(source.storage->getStrides()),
      m_memory(source.storage->getMemory()) {
  if (!m_memory || !isAligned(m_memory, m_strides, m_storedSize)) {
    m_memory = nullptr;
    return;
  }
  for (int i = 0; i < cNbComponents; ++i) m_memory += static_cast<long>(source.begin[i]) * m_strides[i];
}

void ConvertedWindow::read(void* voxels, unsigned long count, Position const& position) const {
  if (m_memory) {
    char const* const address = addressOf(position);
    move(m_fromStored, voxels, address, count);
    prefetchRow<cForReading>(address + m_strides[cRows], count * m_storedSize);
    return;
  }
  PositionValue place = placeOf(position);
  if (!m_fromStored) return m_source.storage->readRun(voxels, count, place.at);
  alignas(16) char buffer[cBufferSize];
  char* const target = static_cast<char*>(voxels);
  for (unsigned long done = 0; done < count;) {
    unsigned long const part = std::min(count - done, cBufferSize / m_storedSize);
    m_source.storage->readRun(buffer, part, place.at);
    m_fromStored(target + done * m_size, buffer, static_cast<long>(part));
    done += part;
    place.at[cColumns] += part;
  }
}

bool ConvertedWindow::write(void const* voxels, unsigned long count, Position const& position) const {
  if (m_memory && m_source.storage->isWritable()) {
    char const* const address = addressOf(position);
    move(m_toStored, const_cast<char*>(address), voxels, count);
    prefetchRow<cForWriting>(address + m_strides[cRows], count * m_storedSize);
    return true;
  }
  PositionValue place = placeOf(position);
  if (!m_toStored) return m_source.storage->writeRun(voxels, count, place.at);
  alignas(16) char buffer[cBufferSize];
  char const* const source = static_cast<char const*>(voxels);
  for (unsigned long done = 0; done < count;) {
    unsigned long const part = std::min(count - done, cBufferSize / m_storedSize);
    m_toStored(buffer, source + done * m_size, static_cast<long>(part));
    if (!m_source.storage->writeRun(buffer, part, place.at)) return false;
    done += part;
    place.at[cColumns] += part;
  }
  return true;
}

char const* ConvertedWindow::addressOf(Position const& position) const {
  char const* address = m_memory;
  for (int i = 0; i < cNbComponents; ++i) address += static_cast<long>(position[i]) * m_strides[i];
  return address;
}

PositionValue ConvertedWindow::placeOf(Position const& position) const {
  PositionValue place;
  for (int i = 0; i < cNbComponents; ++i) place.at[i] = m_source.begin[i] + position[i];
  return place;
}

}  // namespace pxl::access
