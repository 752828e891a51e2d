#include "pxl/ImageModel.h"

#include "Raise.h"

namespace pxl {
namespace {

template <class T>
T* checked(T* image) {
  if (!image) PXL_RAISE(InvalidCall, "a window needs an image");
  return image;
}

void checkWindow(unsigned long begin, unsigned long size, unsigned long imageSize) {
  if (begin > imageSize || size > imageSize - begin) PXL_RAISE(InvalidCall, "the window reaches beyond the image");
}

}  // namespace

ImageModel::ImageModel() = default;
ImageModel::~ImageModel() = default;

access::VoxelSource ImageModel::getSource() const {
  PXL_RAISE(InvalidCall, "this image model has no voxels that the host can reach");
}

std::shared_ptr<void> ImageModel::registerView(bool) const { return nullptr; }

void ImageModel::enforceSameCharacteristics(ImageModel const* other, int const& characteristics) {
  if (!other) PXL_RAISE(InvalidCall, "there is no image whose characteristics could be copied");
  bool isSame = true;
  for (int i = 0; i < cNbComponents && (characteristics & cSizes); ++i)
    isSame = isSame && getNumOf(static_cast<Components>(i)) == other->getNumOf(static_cast<Components>(i));
  if (characteristics & cVoxelType) isSame = isSame && getVoxelType() == other->getVoxelType();
  if (characteristics & cInterpretation) isSame = isSame && getInterpretation() == other->getInterpretation();
  if (!isSame) PXL_RAISE(InvalidCall, "the characteristics of this image are fixed and differ");
}

ImageModelSizeProxy::ImageModelSizeProxy(ImageModel const* image, unsigned long a0, unsigned long n0,
                                         unsigned long a1, unsigned long n1, unsigned long a2, unsigned long n2,
                                         unsigned long a3, unsigned long n3, unsigned long a4, unsigned long n4)
    : ImageModelSizeProxy(image, false, {a0, n0, a1, n1, a2, n2, a3, n3, a4, n4}) {}

ImageModelSizeProxy::ImageModelSizeProxy(ImageModel* image, unsigned long a0, unsigned long n0, unsigned long a1,
                                         unsigned long n1, unsigned long a2, unsigned long n2, unsigned long a3,
                                         unsigned long n3, unsigned long a4, unsigned long n4)
    : ImageModelSizeProxy(image, true, {a0, n0, a1, n1, a2, n2, a3, n3, a4, n4}) {}

ImageModelSizeProxy::ImageModelSizeProxy(ImageModel const* image, bool isWritable, unsigned long const (&window)[10])
    : m_image(checked(image)), m_isWritable(isWritable) {
  for (int i = 0; i < cNbComponents; ++i) {
    m_begin[i] = window[2 * i];
    m_size[i] = window[2 * i + 1];
    checkWindow(m_begin[i], m_size[i], image->getNumOf(static_cast<Components>(i)));
  }
}

ImageModelSizeProxy::~ImageModelSizeProxy() = default;

unsigned long ImageModelSizeProxy::getNumOf(Components const& component) const { return m_size[component]; }
VoxelTypes ImageModelSizeProxy::getVoxelType() const { return m_image->getVoxelType(); }
int ImageModelSizeProxy::getInterpretation() const { return m_image->getInterpretation(); }

std::shared_ptr<void> ImageModelSizeProxy::registerView(bool isWritable) const {
  return m_image->registerView(isWritable);
}

access::VoxelSource ImageModelSizeProxy::getSource() const {
  access::VoxelSource source = m_image->getSource();
  for (int i = 0; i < cNbComponents; ++i) {
    // The sizes of the image may have changed since this window was made.
    checkWindow(m_begin[i], m_size[i], source.size[i]);
    source.begin[i] += m_begin[i];
    source.size[i] = m_size[i];
  }
  source.isWritable = source.isWritable && m_isWritable;
  return source;
}

}  // namespace pxl
