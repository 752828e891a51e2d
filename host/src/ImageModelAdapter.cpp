#include "pxl/ImageModelAdapter.h"

#include <exception>
#include <utility>

#include "CurrentRun.h"
#include "Raise.h"
#include "access/AdapterStorage.h"
#include "instrument/Instrument.h"

namespace pxl {

class ImageModelAdapter::Model final : public ImageModel {
 public:
  Model(ImageModel const& image, VoxelTypes type)
      : m_image(image), m_source(image.getSource()), m_storage(access::AdapterStorage::get(m_source, type)) {}

  unsigned long getNumOf(Components const& component) const override { return m_source.size[component]; }
  VoxelTypes getVoxelType() const override { return m_storage->getVoxelType(); }
  int getInterpretation() const override { return m_image.getInterpretation(); }

  access::VoxelSource getSource() const override {
    access::VoxelSource source{m_storage, {}, {}, m_source.isWritable};
    for (int i = 0; i < cNbComponents; ++i) source.size[i] = m_source.size[i];
    return source;
  }

  std::shared_ptr<void> registerView(bool isWritable) const override {
    auto registration = std::make_shared<Registration>(m_storage, isWritable);
    if (unsigned long const number = registration->begin()) m_writeBuffer = number;
    return registration;
  }

  void endWriteBuffer(bool isKept) {
    if (unsigned long const number = std::exchange(m_writeBuffer, 0)) m_storage->endWriteBuffer(number, isKept);
  }

 private:
  // Counts a view as long as it exists.
  class Registration : private pxl::Noncopyable {
   public:
    Registration(std::shared_ptr<access::AdapterStorage> storage, bool isWritable)
        : m_storage(std::move(storage)), m_isWritable(isWritable) {}
    ~Registration() {
      if (m_isCounted) m_storage->removeView(m_isWritable);
    }
    /** The number of the write buffer that this view started, or 0. */
    unsigned long begin() {
      unsigned long number = 0;
      if (m_isWritable)
        number = m_storage->addWriter(CurrentRun::getExtraMemory);
      else
        m_storage->addReader();
      m_isCounted = true;
      return number;
    }

   private:
    std::shared_ptr<access::AdapterStorage> m_storage;
    bool m_isWritable;
    bool m_isCounted = false;
  };

  ImageModel const& m_image;
  access::VoxelSource m_source;
  std::shared_ptr<access::AdapterStorage> m_storage;
  mutable unsigned long m_writeBuffer = 0;  ///< the last one that a view on this model started
};

ImageModelAdapter::ImageModelAdapter(ImageModel* image, VoxelTypes type, DataConvertionTypes conversion)
    : m_nbExceptions(std::uncaught_exceptions()) {
  PXL_PROBE(onAdapterNew(image, type));
  if (!image) PXL_RAISE(InvalidCall, "an adapter needs an image");
  if (!helper::isImageType(type)) PXL_RAISE(InvalidCall, "no images of the adapter's type can be made");
  if (conversion != cRoundAndSaturate) PXL_RAISE(InvalidCall, "the conversion of an adapter is unknown");
  m_model = std::make_unique<Model>(*image, type);
}

ImageModelAdapter::~ImageModelAdapter() {
  PXL_PROBE(onAdapterDelete(this));
  try {
    m_model->endWriteBuffer(std::uncaught_exceptions() <= m_nbExceptions);
  } catch (...) {
    if (CurrentRun* const run = CurrentRun::get()) run->noteFailure(std::current_exception());
  }
}

void ImageModelAdapter::commit() { m_model->endWriteBuffer(true); }

ImageModel* ImageModelAdapter::getImageModel() const {
  PXL_PROBE(onAdapterGetImageModel(this));
  return m_model.get();
}

}  // namespace pxl
