#include "pxl/VoxelTypes.h"

#include "instrument/Instrument.h"

namespace pxl::helper {
namespace {

struct TypeDescription {
  unsigned long size;
  char const* name;
  bool isImageType;
};

constexpr TypeDescription cTypes[] = {{1, "uint8", true},   {2, "uint16", true},     {4, "uint32", true},
                                      {8, "uint64", false}, {1, "int8", true},       {2, "int16", true},
                                      {4, "int32", true},   {8, "int64", false},     {4, "float32", true},
                                      {8, "float64", true}, {8, "complex64", false}, {16, "complex128", false}};

TypeDescription const* describe(VoxelTypes type) {
  int const value = static_cast<int>(type);
  return value >= 0 && value < 12 ? &cTypes[value] : nullptr;
}

}  // namespace

unsigned long getSizeOf(VoxelTypes const& type) {
  TypeDescription const* description = describe(type);
  unsigned long size = description ? description->size : 0;
  PXL_PROBE(onSizeOf(type, size));
  return size;
}

char const* getNameOf(VoxelTypes const& type) {
  TypeDescription const* description = describe(type);
  return description ? description->name : "unknown";
}

bool isImageType(VoxelTypes const& type) {
  TypeDescription const* description = describe(type);
  return description && description->isImageType;
}

}  // namespace pxl::helper
