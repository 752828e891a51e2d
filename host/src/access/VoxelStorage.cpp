#include "pxl/access/VoxelStorage.h"

#include <cstring>

#include "Raise.h"
#include "access/Storages.h"
#include "pxl/Limits.h"

namespace pxl::access {

VoxelStorage::VoxelStorage(VoxelTypes type, unsigned long const (&sizes)[cNbComponents]) : m_type(type) {
  for (int i = 0; i < cNbComponents; ++i) m_sizes[i] = sizes[i];
}

VoxelStorage::~VoxelStorage() = default;

VoxelTypes VoxelStorage::getVoxelType() const { return m_type; }
unsigned long const* VoxelStorage::getSizes() const { return m_sizes; }
char const* VoxelStorage::getMemory() const { return nullptr; }
void VoxelStorage::settle(Settling) {}
unsigned long VoxelStorage::getStoredVoxelSize() const { return helper::getSizeOf(m_type); }

MemoryStorage::MemoryStorage(VoxelTypes type, ImageSizes const& sizes, ImageStrides const& strides, char* voxels,
                             bool isWritable, std::shared_ptr<void> owner, StorageKey const* key)
    : VoxelStorage(type, PlainSizes(sizes).values),
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

char* MemoryStorage::addressOf(unsigned long const (&position)[cNbComponents]) const {
  char* address = m_voxels;
  for (int i = 0; i < cNbComponents; ++i) address += static_cast<long>(position[i]) * m_key.strides[i];
  return address;
}

void MemoryStorage::readRun(void* voxels, unsigned long count, unsigned long const (&position)[cNbComponents]) const {
  std::memcpy(voxels, addressOf(position), count * helper::getSizeOf(getVoxelType()));
}

bool MemoryStorage::writeRun(void const* voxels, unsigned long count,
                             unsigned long const (&position)[cNbComponents]) {
  // Memory that is known by its address alone may also belong to a writable image, whose views share the interface
  // made on this storage. Whether an image may be written is asked when a writable view is made.
  if (!m_isWritable && m_key.space[1] != 0) return false;
  std::memcpy(addressOf(position), voxels, count * helper::getSizeOf(getVoxelType()));
  return true;
}

void setKeyStrides(StorageKey& key, ImageSizes const& sizes, ImageStrides const& strides) {
  for (std::size_t i = 0; i < cNbComponents; ++i) key.strides[i] = sizes[i] == 1 ? 0 : strides[i];
}

unsigned long checkLimits(VoxelTypes type, ImageSizes const& sizes) {
  if (!helper::isImageType(type))
    PXL_RAISE(InvalidCall, std::string("there are no images of type ") + helper::getNameOf(type));
  bool isEmpty = false;
  for (unsigned long size : sizes) {
    if (size > limits::cMaxSize)
      PXL_RAISE(InvalidCall,
                "an image has at most " + std::to_string(limits::cMaxSize) + " voxels in each dimension");
    isEmpty = isEmpty || size == 0;
  }
  if (isEmpty) return 0;
  unsigned long nbVoxels = 1;
  for (unsigned long size : sizes) {
    if (nbVoxels > limits::cMaxNbVoxels / size) PXL_RAISE(InvalidCall, "an image has at most 2^40 voxels");
    nbVoxels *= size;
  }
  return nbVoxels * helper::getSizeOf(type);
}

}  // namespace pxl::access
