#include "pxl/Image.h"

#include <cstdlib>

#include "Raise.h"
#include "access/FileStorage.h"
#include "access/ImageLimits.h"
#include "access/MemoryStorage.h"
#include "access/VoxelMemory.h"

namespace pxl {

using access::MemoryStorage;
using access::VoxelStorage;

namespace {

std::shared_ptr<VoxelStorage> makeOwnedStorage(VoxelTypes type, ImageSizes const& sizes) {
  std::shared_ptr<void> const voxels = access::allocateVoxels(access::checkLimits(type, sizes));
  return std::make_shared<MemoryStorage>(type, sizes, getPackedStrides(type, sizes), static_cast<char*>(voxels.get()),
                                         true, voxels, nullptr);
}

// Whether all voxels are so close to the first one that no distance between voxels overflows.
bool areStridesNear(ImageSizes const& sizes, ImageStrides const& strides) {
  constexpr long cMaxReach = 1L << 62;
  long reach = 0;
  for (std::size_t i = 0; i < cNbComponents; ++i) {
    if (sizes[i] <= 1) continue;
    long const size = static_cast<long>(sizes[i]);
    if (strides[i] > (cMaxReach - reach) / size || strides[i] < -((cMaxReach - reach) / size)) return false;
    reach += size * std::abs(strides[i]);
  }
  return true;
}

std::shared_ptr<VoxelStorage> makeForeignStorage(char* voxels, bool isWritable, VoxelTypes type,
                                                 ImageSizes const& sizes, ImageStrides const& strides,
                                                 std::shared_ptr<void> keepAlive) {
  unsigned long const bytes = access::checkLimits(type, sizes);
  if (!voxels && bytes > 0) PXL_RAISE(InvalidCall, "an image in existing memory needs its address");
  if (sizes[cColumns] > 1 && strides[cColumns] != static_cast<long>(helper::getSizeOf(type)))
    PXL_RAISE(InvalidCall, "the voxels of a row must be adjacent; copy the image first");
  if (!areStridesNear(sizes, strides)) PXL_RAISE(InvalidCall, "the strides reach beyond the address space");
  return std::make_shared<MemoryStorage>(type, sizes, strides, voxels, isWritable, std::move(keepAlive), nullptr);
}

}  // namespace

ImageStrides getPackedStrides(VoxelTypes type, ImageSizes const& sizes) {
  ImageStrides strides;
  // Modulo 2^64: an image without voxels may have any sizes.
  unsigned long stride = helper::getSizeOf(type);
  for (std::size_t i = 0; i < cNbComponents; ++i) {
    strides[i] = static_cast<long>(stride);
    stride *= sizes[i];
  }
  return strides;
}

Image::Image(std::shared_ptr<VoxelStorage> storage, bool isResizable, int interpretation)
    : m_storage(std::move(storage)), m_isResizable(isResizable), m_interpretation(interpretation) {}

Image::~Image() = default;

std::shared_ptr<Image> Image::New(VoxelTypes type, ImageSizes const& sizes, int interpretation) {
  return std::shared_ptr<Image>(new Image(makeOwnedStorage(type, sizes), true, interpretation));
}

std::shared_ptr<Image> Image::OnMemory(void* voxels, VoxelTypes type, ImageSizes const& sizes,
                                       ImageStrides const& strides, int interpretation,
                                       std::shared_ptr<void> keepAlive) {
  return std::shared_ptr<Image>(
      new Image(makeForeignStorage(static_cast<char*>(voxels), true, type, sizes, strides, std::move(keepAlive)),
                false, interpretation));
}

std::shared_ptr<Image> Image::OnMemory(void const* voxels, VoxelTypes type, ImageSizes const& sizes,
                                       ImageStrides const& strides, int interpretation,
                                       std::shared_ptr<void> keepAlive) {
  // No writable view is ever made on it.
  char* const address = static_cast<char*>(const_cast<void*>(voxels));
  return std::shared_ptr<Image>(new Image(
      makeForeignStorage(address, false, type, sizes, strides, std::move(keepAlive)), false, interpretation));
}

std::shared_ptr<Image> Image::OnDisk(std::string const& path, FileModes mode, VoxelTypes type,
                                     ImageSizes const& sizes, unsigned long offset, int interpretation) {
  return std::shared_ptr<Image>(
      new Image(std::make_shared<access::FileStorage>(type, sizes, path, mode, offset), false, interpretation));
}

std::shared_ptr<Image> Image::OnMappedFile(std::string const& path, VoxelTypes type, ImageSizes const& sizes,
                                           unsigned long offset, int interpretation) {
  access::StorageKey key{};
  std::shared_ptr<void> const voxels = access::mapFile(path, access::checkLimits(type, sizes), offset, key);
  auto storage = std::make_shared<MemoryStorage>(type, sizes, getPackedStrides(type, sizes),
                                                 static_cast<char*>(voxels.get()), false, voxels, &key);
  return std::shared_ptr<Image>(new Image(std::move(storage), false, interpretation));
}

std::shared_ptr<Image> Image::OnStorage(std::shared_ptr<VoxelStorage> storage, int interpretation) {
  if (!storage) PXL_RAISE(InvalidCall, "an image needs a storage");
  std::shared_ptr<Image> image(new Image(std::move(storage), false, interpretation));
  access::checkLimits(image->getVoxelType(), image->getSizes());
  return image;
}

unsigned long Image::getNumOf(Components const& component) const { return m_storage->getSizes()[component]; }
VoxelTypes Image::getVoxelType() const { return m_storage->getVoxelType(); }
int Image::getInterpretation() const { return m_interpretation; }
void Image::setInterpretation(int interpretation) { m_interpretation = interpretation; }

access::VoxelSource Image::getSource() const {
  access::VoxelSource source{m_storage, {}, {}, m_storage->isWritable()};
  for (int i = 0; i < cNbComponents; ++i) source.size[i] = m_storage->getSizes()[i];
  return source;
}

void Image::enforceSameCharacteristics(ImageModel const* other, int const& characteristics) {
  if (other && m_isResizable) {
    VoxelTypes const type = characteristics & cVoxelType ? other->getVoxelType() : getVoxelType();
    ImageSizes sizes = getSizes();
    for (std::size_t i = 0; i < cNbComponents && (characteristics & cSizes); ++i)
      sizes[i] = other->getNumOf(static_cast<Components>(i));
    if (type != getVoxelType() || sizes != getSizes()) m_storage = makeOwnedStorage(type, sizes);
  }
  if (other && (characteristics & cInterpretation)) m_interpretation = other->getInterpretation();
  ImageModel::enforceSameCharacteristics(other, characteristics);
}

ImageSizes Image::getSizes() const {
  ImageSizes sizes;
  for (std::size_t i = 0; i < cNbComponents; ++i) sizes[i] = m_storage->getSizes()[i];
  return sizes;
}

void const* Image::getVoxels() const { return m_storage->getMemory(); }

void* Image::getVoxels() { return m_storage->isWritable() ? const_cast<char*>(m_storage->getMemory()) : nullptr; }

ImageStrides Image::getStrides() const {
  ImageStrides strides;
  for (std::size_t i = 0; i < cNbComponents; ++i) strides[i] = m_storage->getStrides()[i];
  return strides;
}

}  // namespace pxl
