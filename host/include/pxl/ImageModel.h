#pragma once

#include <memory>

#include "pxl/Export.h"
#include "pxl/Forward.h"
#include "pxl/Noncopyable.h"
#include "pxl/VoxelTypes.h"
#include "pxl/access/VoxelStorage.h"

namespace pxl {

/** Characteristics of an image; values can be combined. */
enum Characteristics : int { cSizes = 1, cVoxelType = 2, cInterpretation = 4, cAllCharacteristics = 7 };

/** An image of up to five dimensions and one voxel type. The model describes it; views give access to the voxels. */
class PXL_API ImageModel : private Noncopyable {
 public:
  virtual ~ImageModel();

  /** The size in one dimension. */
  virtual unsigned long getNumOf(Components const& component) const = 0;
  virtual VoxelTypes getVoxelType() const = 0;
  /** 0 for a binary image (voxels 0 and 1, not enforced), anything else for a grey one. */
  virtual int getInterpretation() const = 0;

  /**
   * Where the voxels are.
   * @throws InvalidCall the model has no voxels, as here
   */
  virtual access::VoxelSource getSource() const;

  /**
   * Gives this image the characteristics of another one if it can be changed; else checks that it has them.
   * @throws InvalidCall `other` is null, or this image can't be changed and differs
   */
  virtual void enforceSameCharacteristics(ImageModel const* other, int const& characteristics);

  /**
   * Called for each new view on this image, which keeps the result as long as it exists. Here null. If it throws, no
   * view is made.
   */
  virtual std::shared_ptr<void> registerView(bool isWritable) const;

 protected:
  ImageModel();
};

/** A window of an image. It is an image whose edges are those of the window. It must not outlive `image`. */
class PXL_API ImageModelSizeProxy : public ImageModel {
 public:
  /**
   * The window [a, a + n) in each dimension, in the order of Components. Read-only.
   * @throws InvalidCall `image` is null, or the window reaches beyond it
   */
  ImageModelSizeProxy(ImageModel const* image, unsigned long a0, unsigned long n0, unsigned long a1, unsigned long n1,
                      unsigned long a2, unsigned long n2, unsigned long a3, unsigned long n3, unsigned long a4,
                      unsigned long n4);
  /** The same, writable if `image` is. */
  ImageModelSizeProxy(ImageModel* image, unsigned long a0, unsigned long n0, unsigned long a1, unsigned long n1,
                      unsigned long a2, unsigned long n2, unsigned long a3, unsigned long n3, unsigned long a4,
                      unsigned long n4);
  ~ImageModelSizeProxy() override;

  unsigned long getNumOf(Components const& component) const override;
  VoxelTypes getVoxelType() const override;
  int getInterpretation() const override;
  access::VoxelSource getSource() const override;
  std::shared_ptr<void> registerView(bool isWritable) const override;

 private:
  ImageModelSizeProxy(ImageModel const* image, bool isWritable, unsigned long const (&window)[10]);

  ImageModel const* m_image;
  bool m_isWritable;
  unsigned long m_begin[cNbComponents];
  unsigned long m_size[cNbComponents];
};

}  // namespace pxl
