#include "pxl/access/VoxelStorage.h"

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

}  // namespace pxl::access
