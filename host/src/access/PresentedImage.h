#pragma once

#include <memory>

#include "pxl/ImageModel.h"

namespace pxl::access {

/**
 * Presents an image as a grey one, with its bits reinterpreted as another voxel type of the same size. It must not
 * outlive the image.
 */
class PresentedImage final : public ImageModel {
 public:
  /** Read-only. */
  PresentedImage(ImageModel const* image, VoxelTypes type);
  /** Writable if the image is. */
  PresentedImage(ImageModel* image, VoxelTypes type);
  ~PresentedImage() override;

  unsigned long getNumOf(Components const& component) const override;
  VoxelTypes getVoxelType() const override;
  int getInterpretation() const override;
  VoxelSource getSource() const override;
  std::shared_ptr<void> registerView(bool isWritable) const override;

 private:
  PresentedImage(ImageModel const* image, VoxelTypes type, bool isWritable);

  ImageModel const* m_image;
  VoxelTypes m_type;
  bool m_isWritable;
};

}  // namespace pxl::access
