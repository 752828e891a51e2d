#pragma once

#include <memory>

#include "pxl/ImageModel.h"

namespace pxl {

/**
 * Presents an image as one of another voxel type. Nothing is copied: rows are converted as they are read and written.
 *
 * In place: a writable view starts a write buffer if a read view on the same voxels exists, made through this adapter
 * or another one of the same place and type. Reads then still see the original image. Writes are buffered in the
 * image's own type, and commit() of the adapter that the writable view was made through stores them in the image.
 * Without commit() the adapter's destructor stores them, or discards them while an exception is unwinding. The buffer
 * is in memory or on disk, as the extra memory of the algorithm that runs on this thread allows, else that of the
 * settings.
 *
 * A write buffer is stored earlier when its result is read:
 * - by a filter that begins to read through its writable view: the second pass of a recursive filter, whose passes in
 *   place need no write buffer;
 * - by a read view that is made through an adapter after the writing views are gone: a later stage or operator.
 * So each pass and each stage reads what the previous one wrote. Storing is never cancelled once it has begun.
 *
 * The destructor never throws. If it can't write the image, the algorithm that runs on this thread throws
 * RuntimeError at the end of its run; outside a run the failure is not reported.
 *
 * Threads: an adapter is used on one thread, its views on any. It must not outlive the image; views may outlive both.
 */
class PXL_API ImageModelAdapter : private Noncopyable {
 public:
  /** @throws InvalidCall `image` is null, no images of `type` can be made, or the conversion is unknown */
  ImageModelAdapter(ImageModel* image, VoxelTypes type, DataConvertionTypes conversion);
  ~ImageModelAdapter();

  /**
   * Stores the buffered writes of views on this adapter in the image. To be called after the last write and before
   * the image is read in any other way.
   * @throws RuntimeError the image can't be written; the buffered writes are lost then
   */
  void commit();

  /** The image of the other type; the adapter owns it. */
  ImageModel* getImageModel() const;

 private:
  class Model;

  std::unique_ptr<Model> m_model;
  int m_nbExceptions;  ///< exceptions that were unwinding at construction
};

}  // namespace pxl
