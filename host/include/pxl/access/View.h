#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>

#include "pxl/Export.h"
#include "pxl/Forward.h"
#include "pxl/Noncopyable.h"
#include "pxl/VoxelTypes.h"
#include "pxl/access/BorderCondition.h"
#include "pxl/access/Region.h"
#include "pxl/access/ViewInterface.h"

namespace pxl::access {

class VoxelStorage;
template <class V, class A>
class RowCacheRead;
template <class V, class A>
class PlanCacheRead;
template <class V, class A>
class RowCacheReadWrite;
template <class V, class A>
class PlanCacheReadWrite;
template <class V, class A>
class OuputRow;
template <class T>
class DeferredRows;

/** The parts of which a view is made. */
template <class T>
struct ViewParts {
  std::shared_ptr<ViewInterface<T>> viewInterface;
  std::shared_ptr<VoxelStorage> storage;
  std::shared_ptr<BorderCondition<T>> border;
  bool isWritable;
  std::shared_ptr<void> registration;
};

/** The part of a view that doesn't depend on the allocator of its rows, see View. */
template <class T>
class PXL_API ViewOfVoxels : private Noncopyable {
 public:
  using VoxelType = T;

  /** The whole image. */
  Region getLargestPossibleRegion() const;

  /** The voxel type of T, whatever the type of the image. */
  VoxelTypes getVoxelType() const;

  /**
   * The border condition given at construction. Its reference count is per group of threads, so that threads don't
   * contend. Called for each row that is fetched.
   * @throws ExceptionCancelation the run in which the view was made is cancelled
   */
  std::shared_ptr<BorderCondition<T> const> getBorderCondition() const;
  std::shared_ptr<BorderCondition<T>> getBorderCondition();

  /**
   * The same object for two views if and only if they show the same voxels as the same T. Called for each row
   * written.
   * @throws ExceptionCancelation the run in which the view was made is cancelled
   */
  ViewInterface<T>* getInterface() const;

  /**
   * Stores all rows kept so far and discards the copies; free of cost if there are none. Must not be called while
   * another thread keeps rows.
   * @throws UnexpectedError the image can't be written
   */
  void writeAllTemporizedRows();

  alignas(64) unsigned long const nbRows;  ///< starts a cache line: all threads read the view for each row
  unsigned long const nbCols;
  unsigned long const nbPlans;
  unsigned long const nbSequence;
  unsigned long const nbSpectralSeries;

 protected:
  /** The parts of a view of an image; the second is writable. Errors as in View::New(). */
  static ViewParts<T> open(ImageModel const* image, std::shared_ptr<BorderCondition<T>> border);
  static ViewParts<T> open(ImageModel* image, std::shared_ptr<BorderCondition<T>> border);

  explicit ViewOfVoxels(ViewParts<T>&& parts);
  ~ViewOfVoxels();

  /** To be called before a cache is made; `kind` is the name of the function. Stores buffered writes of the view. */
  void beginReading(char const* kind, unsigned long count) const;
  /** To be called before a cache for writing is made. */
  void beginWriting(char const* kind, unsigned long count);
  /** Keeps a copy of voxels until writeAllTemporizedRows(). */
  void holdBack(T const* voxels, long count, long col, long row, long plan, long sequence, long spectralSeries);

 private:
  static ViewParts<T> open(ImageModel const* image, std::shared_ptr<BorderCondition<T>> border, bool isWritable);
  std::shared_ptr<BorderCondition<T>> const& borderOfThread() const;

  // A share of the border condition with a count of its own for each of a few groups of threads, made on first use.
  struct BorderShare;
  BorderShare* makeShare(std::atomic<BorderShare*>& slot) const;
  static constexpr std::size_t cNbShares = 32;

  std::shared_ptr<ViewInterface<T>> m_interface;
  std::shared_ptr<VoxelStorage> m_storage;  ///< the image's; the interface may hold another one of the same place
  std::shared_ptr<BorderCondition<T>> m_border;
  mutable std::array<std::atomic<BorderShare*>, cNbShares> m_shares;
  std::shared_ptr<std::atomic<bool> const> m_isCancelled;  ///< of the run in which this was made
  std::shared_ptr<void> m_registration;                    ///< with the image model
  std::unique_ptr<DeferredRows<T>> m_deferred;             ///< null in a read-only view
};

/**
 * Typed access to an image: rows of T, with a rule for reads beyond the edge. An image of another type is converted
 * row by row, see DataConvertionTypes. A view keeps the voxels alive but not the image object: it may outlive the
 * image model, proxy or adapter that it was made on. Reading is thread-safe.
 *
 * A view that is made on the thread of a run takes part in its cancellation: each read or write of a row tests the
 * cancel flag of the run. So a run stops within the time of one row, however large its blocks are.
 *
 * `A` allocates the buffers of rows. Its `cSlack` is the number of bytes after a row that kernels may read and write.
 * Views with the default allocator are compiled in the host. A plug-in that uses another allocator compiles its views
 * itself, see Core/private/Access/View.impl.
 */
template <class T, class A = SimdVec::AlignedAllocator<T, 16>>
class PXL_API View : public ViewOfVoxels<T> {
 public:
  using Allocator = A;

  /** @throws InvalidCall `image` or `border` is null, `image` isn't an image of the host, or it isn't writable */
  static std::shared_ptr<View const> New(ImageModel const* image, std::shared_ptr<BorderCondition<T>> border);
  static std::shared_ptr<View> New(ImageModel* image, std::shared_ptr<BorderCondition<T>> border);

  /**
   * A cache of `count` rows, or plans of rows, for one thread; it must not outlive the view. Making a read cache of a
   * writable view begins a pass: writes that an adapter still buffers are stored first, so that the pass reads what
   * the previous one wrote.
   * @throws RuntimeError buffered writes can't be stored
   */
  std::shared_ptr<RowCacheRead<View, A>> createRowCacheRead(unsigned long count) const;
  std::shared_ptr<PlanCacheRead<View, A>> createPlanCacheRead(unsigned long count) const;
  std::shared_ptr<RowCacheReadWrite<View, A>> createRowCacheReadWrite(unsigned long count);
  std::shared_ptr<PlanCacheReadWrite<View, A>> createPlanCacheReadWrite(unsigned long count);

  /**
   * Keeps a copy of a row, or of `count` of its voxels from buffer index `offset` on, until writeAllTemporizedRows().
   * Voxels beyond the image are dropped. Thread-safe: the copies are thread-local.
   */
  void temporizeRowWriting(OuputRow<View, A> const& row);
  void temporizeRowWriting(OuputRow<View, A> const& row, unsigned long count, unsigned long offset);

 private:
  explicit View(ViewParts<T>&& parts);
};

}  // namespace pxl::access
