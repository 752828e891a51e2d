#pragma once

#include "access/Conversion.h"
#include "access/Position.h"
#include "pxl/access/VoxelStorage.h"

namespace pxl::access {

/**
 * A window of a storage as voxels of any type. Positions are relative to the window. Voxels in memory are converted
 * in place; all others are converted through a small buffer.
 */
class ConvertedWindow {
 public:
  ConvertedWindow(VoxelSource const& source, VoxelTypes type);

  VoxelSource const& getSource() const { return m_source; }

  /** Reads `count` voxels of one row. @throws RuntimeError the storage fails */
  void read(void* voxels, unsigned long count, Position const& position) const;
  /** The reverse. @return false on failure */
  bool write(void const* voxels, unsigned long count, Position const& position) const;

 private:
  static constexpr unsigned long cBufferSize = 8192;

  void move(Converter convert, void* to, void const* from, unsigned long count) const;
  char const* addressOf(Position const& position) const;
  PositionValue placeOf(Position const& position) const;

  VoxelSource m_source;
  unsigned long m_size;
  unsigned long m_storedSize;
  Converter m_fromStored;
  Converter m_toStored;
  long const* m_strides;  ///< of the storage
  char const* m_memory;   ///< of the window's first voxel; null if voxels can't be converted in place
};

}  // namespace pxl::access
