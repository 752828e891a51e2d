#pragma once

#include <memory>

#include "pxl/ImageModel.h"

namespace pxl {

/**
 * Presents an image as one of another voxel type. Nothing is copied: rows are converted as they are read and written.
 *
 * A writable view that is made while the same voxels have a living read view through an adapter (this one, or another
 * of the same place and type) starts a collection: reads go on to see the image as it was, and what is written is
 * kept apart, in the image's own type, until commit() of the adapter that the writable view was made through stores
 * it in the image. Without commit() the adapter's destructor does that, or drops the collection while an exception is
 * unwinding. The collection is in memory or on
 * disk as the extra memory of the algorithm that runs on this thread allows, else that of the settings.
 *
 * A collection is stored earlier when its result is read: by a filter that begins to read through its writable view
 * (the second pass of a recursive filter, whose passes in place need no collection), and by a read view that is made
 * through an adapter when the views that wrote are gone (a later stage or operator). So each pass and each stage
 * reads what the last one left. A storing that has begun is never cancelled.
 *
 * The destructor never throws. If the image can't be written by it, the algorithm that runs on this thread raises a
 * RuntimeError at the end of its run; outside a run nobody learns of it.
 *
 * To be used on one thread, views apart. It must not outlive the image; views may outlive both.
 */
class PXL_API ImageModelAdapter : private Noncopyable {
 public:
  /** @throws InvalidCall null, a type of which there are no images, or an unknown conversion */
  ImageModelAdapter(ImageModel* image, VoxelTypes type, DataConvertionTypes conversion);
  ~ImageModelAdapter();

  /**
   * Stores what was written through views on this adapter and is still kept apart. After the last writer, before what
   * reads the image otherwise. @throws RuntimeError the image can't be written; what was kept apart is lost then
   */
  void commit();

  /** The image as it is presented; it belongs to the adapter. */
  ImageModel* getImageModel() const;

 private:
  class Model;

  std::unique_ptr<Model> m_model;
  int m_nbExceptions;  ///< that were unwinding when this was made
};

}  // namespace pxl
