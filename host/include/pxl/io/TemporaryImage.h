#pragma once

#include <memory>

#include "pxl/Export.h"
#include "pxl/ImageModel.h"

namespace pxl {
class Image;

/**
 * Returns to the system the memory that is kept for the next temporary image. It is that of the last one, unless that
 * was larger than the setting PXL_MAX_KEPT_MEMORY in bytes, 1 GiB by default. Temporaries in use are not affected.
 * From any thread.
 * @return the bytes that were kept
 */
PXL_API unsigned long releaseTemporaries();

}  // namespace pxl

namespace pxl::io {

/** Where a temporary image is kept. */
enum LocationMode : int { cInMemory = 1, cOnDisk = 2 };

class TemporaryImage;

/** A shared reference to a temporary image. */
class PXL_API TemporaryImageReference {
 public:
  TemporaryImageReference();
  explicit TemporaryImageReference(std::shared_ptr<TemporaryImage> image);
  TemporaryImageReference(TemporaryImageReference const&);
  TemporaryImageReference& operator=(TemporaryImageReference const&);
  ~TemporaryImageReference();

  /** @throws UnexpectedError the reference is empty */
  TemporaryImage* operator->() const;

 private:
  std::shared_ptr<TemporaryImage> m_image;
};

/**
 * An image for the duration of a computation. Its voxels are uninitialised.
 *
 * In memory, its pages are reused by the next temporary image, and kept until releaseTemporaries() or until one of
 * another size is made. On disk, it is an unnamed file in PXLWORKS_TMPDIR (ignored in set-uid programs), else in
 * /var/tmp, whose space is reserved before it is used.
 */
class PXL_API TemporaryImage : private Noncopyable {
 public:
  static TemporaryImageReference New(LocationMode location);
  ~TemporaryImage();

  /**
   * Allocates the voxels.
   * @return false if there isn't enough room for them, or a limit of images is exceeded
   */
  bool reserve(VoxelTypes const& type, unsigned long cols, unsigned long rows, unsigned long plans,
               unsigned long sequence, unsigned long spectralSeries);

  /** The image, or null before a successful reserve(). */
  ImageModel* getImageModel() const;

 private:
  explicit TemporaryImage(LocationMode location);

  LocationMode m_location;
  std::shared_ptr<Image> m_image;
};

}  // namespace pxl::io
