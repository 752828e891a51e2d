#include "access/MemoryStorage.h"

#include <cstring>
#include <utility>

#include "access/ImageLimits.h"

namespace pxl::access {

MemoryStorage::MemoryStorage(VoxelTypes type, ImageSizes const& sizes, ImageStrides const& strides, char* voxels,
                             bool isWritable, std::shared_ptr<void> owner, StorageKey const* key)
    : VoxelStorage(type, toPosition(sizes).at),
      m_key(),
      m_voxels(voxels),
      m_isWritable(isWritable),
      m_owner(std::move(owner)) {
  if (key)
    m_key = *key;
  else
    m_key.origin = reinterpret_cast<unsigned long>(voxels);
  setKeyStrides(m_key, sizes, strides);
}

char* MemoryStorage::addressOf(Position const& position) const {
  char* address = m_voxels;
  for (int i = 0; i < cNbComponents; ++i) address += static_cast<long>(position[i]) * m_key.strides[i];
  return address;
}

void MemoryStorage::readRun(void* voxels, unsigned long count, Position const& position) const {
  std::memcpy(voxels, addressOf(position), count * helper::getSizeOf(getVoxelType()));
}

bool MemoryStorage::writeRun(void const* voxels, unsigned long count, Position const& position) {
  // Memory that is identified by its address may also belong to a writable image, whose views share the interface
  // made on this storage. Writability is checked when a writable view is made.
  if (!m_isWritable && m_key.space[1] != 0) return false;
  std::memcpy(addressOf(position), voxels, count * helper::getSizeOf(getVoxelType()));
  return true;
}

}  // namespace pxl::access
