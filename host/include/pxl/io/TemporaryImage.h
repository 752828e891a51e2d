#pragma once

#include <memory>

#include "pxl/Export.h"
#include "pxl/ImageModel.h"

namespace pxl {
class Image;

/**
 * Gives the memory that is kept for the next temporary image back to the system: that of the last one, unless it was
 * larger than the setting PXL_MAX_KEPT_MEMORY in bytes, by default 1 GiB. Temporaries in use are left alone. From any
 * thread. @return the bytes that were kept
 */
PXL_API unsigned long releaseTemporaries();

}  // namespace pxl

namespace pxl::io {

/** Where a temporary image is kept. */
enum LocationMode : int { cInMemory = 1, cOnDisk = 2 };

class TemporaryImage;

/** A share of a temporary image. Using an empty one is an UnexpectedError. */
class PXL_API TemporaryImageReference {
 public:
  TemporaryImageReference();
  explicit TemporaryImageReference(std::shared_ptr<TemporaryImage> image);
  TemporaryImageReference(TemporaryImageReference const&);
  TemporaryImageReference& operator=(TemporaryImageReference const&);
  ~TemporaryImageReference();

  TemporaryImage* operator->() const;

 private:
  std::shared_ptr<TemporaryImage> m_image;
};

/**
 * An image for the length of a computation. In memory its pages are reused from one temporary to the next, and kept
 * until releaseTemporaries() or until one of another size is made; on disk it
 * is a file without a name in the folder of temporaries (PXLWORKS_TMPDIR, ignored in set-uid programs, else
 * /var/tmp), whose space is reserved before it is used. New voxels have any value.
 */
class PXL_API TemporaryImage : private Noncopyable {
 public:
  static TemporaryImageReference New(LocationMode location);
  ~TemporaryImage();

  /** Makes the voxels. @return false when there is no room for them, or they exceed the limits of images */
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
