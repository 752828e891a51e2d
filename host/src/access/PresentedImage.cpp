#include "access/PresentedImage.h"

#include <utility>

#include "Raise.h"
#include "access/Position.h"

namespace pxl::access {
namespace {

// The voxels of a storage as another type of the same size.
class RetypedStorage final : public VoxelStorage {
 public:
  RetypedStorage(std::shared_ptr<VoxelStorage> storage, VoxelTypes type)
      : VoxelStorage(type, toPosition(storage->getSizes()).at), m_storage(std::move(storage)) {}

  bool isOnDisk() const override { return m_storage->isOnDisk(); }
  bool isWritable() const override { return m_storage->isWritable(); }
  char const* getMemory() const override { return m_storage->getMemory(); }
  long const* getStrides() const override { return m_storage->getStrides(); }
  StorageKey getKey() const override { return m_storage->getKey(); }
  void readRun(void* voxels, unsigned long count, unsigned long const (&position)[cNbComponents]) const override {
    m_storage->readRun(voxels, count, position);
  }
  bool writeRun(void const* voxels, unsigned long count, unsigned long const (&position)[cNbComponents]) override {
    return m_storage->writeRun(voxels, count, position);
  }
  void settle(Settling occasion) override { m_storage->settle(occasion); }
  unsigned long getStoredVoxelSize() const override { return m_storage->getStoredVoxelSize(); }

 private:
  std::shared_ptr<VoxelStorage> m_storage;
};

}  // namespace

PresentedImage::PresentedImage(ImageModel const* image, VoxelTypes type) : PresentedImage(image, type, false) {}
PresentedImage::PresentedImage(ImageModel* image, VoxelTypes type) : PresentedImage(image, type, true) {}
PresentedImage::PresentedImage(ImageModel const* image, VoxelTypes type, bool isWritable)
    : m_image(image), m_type(type), m_isWritable(isWritable) {
  if (helper::getSizeOf(type) != helper::getSizeOf(image->getVoxelType()))
    PXL_RAISE(UnexpectedError, "an image can't be presented as a type of another size");
}
PresentedImage::~PresentedImage() = default;

unsigned long PresentedImage::getNumOf(Components const& component) const { return m_image->getNumOf(component); }
VoxelTypes PresentedImage::getVoxelType() const { return m_type; }
int PresentedImage::getInterpretation() const { return cGrey; }

VoxelSource PresentedImage::getSource() const {
  VoxelSource source = m_image->getSource();
  source.isWritable = source.isWritable && m_isWritable;
  if (m_type != source.storage->getVoxelType())
    source.storage = std::make_shared<RetypedStorage>(std::move(source.storage), m_type);
  return source;
}

std::shared_ptr<void> PresentedImage::registerView(bool isWritable) const {
  return m_image->registerView(isWritable);
}

}  // namespace pxl::access
