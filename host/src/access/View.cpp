#include "pxl/access/View.h"

#include "Core/private/Access/RowCache.h"
#include "CurrentRun.h"
#include "Raise.h"
#include "access/CacheLine.h"
#include "access/DeferredRows.h"
#include "access/ViewInterfaces.h"
#include "instrument/Instrument.h"
#include "pxl/ImageModel.h"

namespace pxl::access {
namespace {

// A small number for each thread, so that neighbouring threads use different shares of a view's border condition.
std::size_t getThreadNumber() {
  static std::atomic<std::size_t> lastNumber{0};
  // Zero until it is assigned: a thread-local variable with a dynamic initialiser would be checked by a call for each
  // row. The TLS model avoids the call that looks up the variable, and costs every thread a few bytes.
  [[gnu::tls_model("initial-exec")]] thread_local std::size_t number = 0;
  if (__builtin_expect(number == 0, 0)) number = lastNumber.fetch_add(1, std::memory_order_relaxed) + 1;
  return number;
}

// Called for each row that is read or written.
[[gnu::always_inline]] inline void throwIfSet(std::atomic<bool> const& isCancelled) {
  if (__builtin_expect(isCancelled.load(std::memory_order_relaxed), 0)) throw ExceptionCancelation();
}

}  // namespace

// The reference count of a share changes with every row, so it has cache lines of its own.
template <class T>
struct ViewOfVoxels<T>::BorderShare {
  struct alignas(cCacheLine) Owner {
    std::shared_ptr<BorderCondition<T>> border;
  };

  explicit BorderShare(std::shared_ptr<BorderCondition<T>> const& border)
      : share(std::make_shared<Owner>(Owner{border}), border.get()) {}

  std::shared_ptr<BorderCondition<T>> share;
};

template <class T>
ViewParts<T> ViewOfVoxels<T>::open(ImageModel const* image, std::shared_ptr<BorderCondition<T>> border,
                                   bool isWritable) {
  if (!image) PXL_RAISE(InvalidCall, "a view needs an image");
  if (!border) PXL_RAISE(InvalidCall, "a view needs a border condition");
  PXL_PROBE(onViewNew(image, border.get(), helper::DataTypeToVoxelTypeEnum<T>::cVoxelType));
  VoxelSource source = image->getSource();
  auto viewInterface = getViewInterface<T>(source);
  auto registration = image->registerView(isWritable);
  return {std::move(viewInterface), std::move(source.storage), std::move(border), isWritable,
          std::move(registration)};
}

template <class T>
ViewParts<T> ViewOfVoxels<T>::open(ImageModel const* image, std::shared_ptr<BorderCondition<T>> border) {
  return open(image, std::move(border), false);
}

template <class T>
ViewParts<T> ViewOfVoxels<T>::open(ImageModel* image, std::shared_ptr<BorderCondition<T>> border) {
  if (image && !image->getSource().isWritable) PXL_RAISE(InvalidCall, "the image is read-only");
  return open(image, std::move(border), true);
}

template <class T>
ViewOfVoxels<T>::ViewOfVoxels(ViewParts<T>&& parts)
    : nbRows(static_cast<unsigned long>(parts.viewInterface->nbRows)),
      nbCols(static_cast<unsigned long>(parts.viewInterface->nbCols)),
      nbPlans(static_cast<unsigned long>(parts.viewInterface->nbPlans)),
      nbSequence(static_cast<unsigned long>(parts.viewInterface->nbSequence)),
      nbSpectralSeries(static_cast<unsigned long>(parts.viewInterface->nbSpectralSeries)),
      m_interface(std::move(parts.viewInterface)),
      m_storage(std::move(parts.storage)),
      m_border(std::move(parts.border)),
      m_shares(),
      m_isCancelled(CurrentRun::getCancelFlag()),
      m_registration(std::move(parts.registration)),
      m_deferred(parts.isWritable ? std::make_unique<DeferredRows<T>>() : nullptr) {}

template <class T>
ViewOfVoxels<T>::~ViewOfVoxels() {
  PXL_PROBE(onViewDelete(this));
  for (auto& share : m_shares) delete share.load(std::memory_order_relaxed);
}

template <class T>
Region ViewOfVoxels<T>::getLargestPossibleRegion() const {
  return Region(0, m_interface->nbRows, 0, m_interface->nbCols, 0, m_interface->nbPlans, 0, m_interface->nbSequence,
                0, m_interface->nbSpectralSeries);
}

template <class T>
VoxelTypes ViewOfVoxels<T>::getVoxelType() const {
  return helper::DataTypeToVoxelTypeEnum<T>::cVoxelType;
}

template <class T>
inline std::shared_ptr<BorderCondition<T>> const& ViewOfVoxels<T>::borderOfThread() const {
  throwIfSet(*m_isCancelled);
  std::atomic<BorderShare*>& slot = m_shares[getThreadNumber() % cNbShares];
  BorderShare* const share = slot.load(std::memory_order_acquire);
  return share ? share->share : makeShare(slot)->share;
}

template <class T>
typename ViewOfVoxels<T>::BorderShare* ViewOfVoxels<T>::makeShare(std::atomic<BorderShare*>& slot) const {
  auto made = std::make_unique<BorderShare>(m_border);
  BorderShare* share = nullptr;
  if (slot.compare_exchange_strong(share, made.get(), std::memory_order_acq_rel)) share = made.release();
  return share;
}

template <class T>
std::shared_ptr<BorderCondition<T> const> ViewOfVoxels<T>::getBorderCondition() const {
  return borderOfThread();
}

template <class T>
std::shared_ptr<BorderCondition<T>> ViewOfVoxels<T>::getBorderCondition() {
  return borderOfThread();
}

template <class T>
ViewInterface<T>* ViewOfVoxels<T>::getInterface() const {
  throwIfSet(*m_isCancelled);
  return m_interface.get();
}

template <class T>
void ViewOfVoxels<T>::beginReading([[maybe_unused]] char const* kind, [[maybe_unused]] unsigned long count) const {
  PXL_PROBE(onCreateCache(kind, count));
  if (m_deferred) m_storage->settle(Settling::cNextPass);
}

template <class T>
void ViewOfVoxels<T>::beginWriting([[maybe_unused]] char const* kind, [[maybe_unused]] unsigned long count) {
  PXL_PROBE(onCreateCache(kind, count));
}

template <class T>
void ViewOfVoxels<T>::holdBack(T const* voxels, long count, long col, long row, long plan, long sequence,
                               long spectralSeries) {
  PXL_PROBE(onTemporize(m_interface.get(), count, col, row, plan, sequence, spectralSeries));
  m_deferred->keep(*m_interface, voxels, count, col, row, plan, sequence, spectralSeries);
}

template <class T>
void ViewOfVoxels<T>::writeAllTemporizedRows() {
  PXL_PROBE(onWriteAllTemporized(m_interface.get()));
  if (!m_deferred->isEmpty()) m_deferred->writeAll(*m_interface);
}

#define PXL_INSTANTIATE(T)        \
  template class ViewOfVoxels<T>; \
  template class View<T>;
PXL_FOR_EACH_VOXEL_TYPE(PXL_INSTANTIATE)
#undef PXL_INSTANTIATE

}  // namespace pxl::access
