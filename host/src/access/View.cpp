#include "pxl/access/View.h"

#include "Core/private/Access/RowCache.h"
#include "CurrentRun.h"
#include "Raise.h"
#include "access/CacheLine.h"
#include "access/HeldBackRows.h"
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
template <class T, class A>
struct View<T, A>::BorderShare {
  struct alignas(cCacheLine) Owner {
    std::shared_ptr<BorderCondition<T>> border;
  };

  explicit BorderShare(std::shared_ptr<BorderCondition<T>> const& border)
      : share(std::make_shared<Owner>(Owner{border}), border.get()) {}

  std::shared_ptr<BorderCondition<T>> share;
};

template <class T, class A>
std::shared_ptr<View<T, A>> View<T, A>::make(ImageModel const* image, std::shared_ptr<BorderCondition<T>> border,
                                             bool isWritable) {
  if (!image) PXL_RAISE(InvalidCall, "a view needs an image");
  if (!border) PXL_RAISE(InvalidCall, "a view needs a border condition");
  PXL_PROBE(onViewNew(image, border.get(), helper::DataTypeToVoxelTypeEnum<T>::cVoxelType));
  VoxelSource source = image->getSource();
  auto viewInterface = getViewInterface<T>(source);
  auto registration = image->registerView(isWritable);
  return std::shared_ptr<View>(new View(std::move(viewInterface), std::move(source.storage), std::move(border),
                                        isWritable, std::move(registration)));
}

template <class T, class A>
std::shared_ptr<View<T, A> const> View<T, A>::New(ImageModel const* image,
                                                  std::shared_ptr<BorderCondition<T>> border) {
  return make(image, std::move(border), false);
}

template <class T, class A>
std::shared_ptr<View<T, A>> View<T, A>::New(ImageModel* image, std::shared_ptr<BorderCondition<T>> border) {
  if (image && !image->getSource().isWritable) PXL_RAISE(InvalidCall, "the image is read-only");
  return make(image, std::move(border), true);
}

template <class T, class A>
View<T, A>::View(std::shared_ptr<ViewInterface<T>> viewInterface, std::shared_ptr<VoxelStorage> storage,
                 std::shared_ptr<BorderCondition<T>> border, bool isWritable, std::shared_ptr<void> registration)
    : nbRows(static_cast<unsigned long>(viewInterface->nbRows)),
      nbCols(static_cast<unsigned long>(viewInterface->nbCols)),
      nbPlans(static_cast<unsigned long>(viewInterface->nbPlans)),
      nbSequence(static_cast<unsigned long>(viewInterface->nbSequence)),
      nbSpectralSeries(static_cast<unsigned long>(viewInterface->nbSpectralSeries)),
      m_interface(std::move(viewInterface)),
      m_storage(std::move(storage)),
      m_border(std::move(border)),
      m_shares(),
      m_isCancelled(CurrentRun::getCancelFlag()),
      m_registration(std::move(registration)),
      m_heldBack(isWritable ? std::make_unique<HeldBackRows<T>>() : nullptr) {}

template <class T, class A>
View<T, A>::~View() {
  PXL_PROBE(onViewDelete(this));
  for (auto& share : m_shares) delete share.load(std::memory_order_relaxed);
}

template <class T, class A>
Region View<T, A>::getLargestPossibleRegion() const {
  return Region(0, m_interface->nbRows, 0, m_interface->nbCols, 0, m_interface->nbPlans, 0, m_interface->nbSequence,
                0, m_interface->nbSpectralSeries);
}

template <class T, class A>
VoxelTypes View<T, A>::getVoxelType() const {
  return helper::DataTypeToVoxelTypeEnum<T>::cVoxelType;
}

template <class T, class A>
inline std::shared_ptr<BorderCondition<T>> const& View<T, A>::borderOfThread() const {
  throwIfSet(*m_isCancelled);
  std::atomic<BorderShare*>& slot = m_shares[getThreadNumber() % cNbShares];
  BorderShare* const share = slot.load(std::memory_order_acquire);
  return share ? share->share : makeShare(slot)->share;
}

template <class T, class A>
typename View<T, A>::BorderShare* View<T, A>::makeShare(std::atomic<BorderShare*>& slot) const {
  auto made = std::make_unique<BorderShare>(m_border);
  BorderShare* share = nullptr;
  if (slot.compare_exchange_strong(share, made.get(), std::memory_order_acq_rel)) share = made.release();
  return share;
}

template <class T, class A>
std::shared_ptr<BorderCondition<T> const> View<T, A>::getBorderCondition() const {
  return borderOfThread();
}

template <class T, class A>
std::shared_ptr<BorderCondition<T>> View<T, A>::getBorderCondition() {
  return borderOfThread();
}

template <class T, class A>
ViewInterface<T>* View<T, A>::getInterface() const {
  throwIfSet(*m_isCancelled);
  return m_interface.get();
}

template <class T, class A>
void View<T, A>::settle() const {
  if (m_heldBack) m_storage->settle(Settling::cNextPass);
}

template <class T, class A>
std::shared_ptr<RowCacheRead<View<T, A>, A>> View<T, A>::createRowCacheRead(unsigned long count) const {
  PXL_PROBE(onCreateCache("createRowCacheRead", count));
  settle();
  return std::make_shared<RowCacheRead<View, A>>(this, count, 0);
}

template <class T, class A>
std::shared_ptr<PlanCacheRead<View<T, A>, A>> View<T, A>::createPlanCacheRead(unsigned long count) const {
  PXL_PROBE(onCreateCache("createPlanCacheRead", count));
  settle();
  return std::make_shared<PlanCacheRead<View, A>>(this, count);
}

template <class T, class A>
std::shared_ptr<RowCacheReadWrite<View<T, A>, A>> View<T, A>::createRowCacheReadWrite(unsigned long count) {
  PXL_PROBE(onCreateCache("createRowCacheReadWrite", count));
  return std::make_shared<RowCacheReadWrite<View, A>>(this, count, 0);
}

template <class T, class A>
std::shared_ptr<PlanCacheReadWrite<View<T, A>, A>> View<T, A>::createPlanCacheReadWrite(unsigned long count) {
  PXL_PROBE(onCreateCache("createPlanCacheReadWrite", count));
  return std::make_shared<PlanCacheReadWrite<View, A>>(this, count);
}

template <class T, class A>
void View<T, A>::temporizeRowWriting(OuputRow<View, A> const& row) {
  temporizeRowWriting(row, row.voxels.size(), 0);
}

template <class T, class A>
void View<T, A>::temporizeRowWriting(OuputRow<View, A> const& row, unsigned long count, unsigned long offset) {
  long const col = row.col + static_cast<long>(offset);
  PXL_PROBE(onTemporize(m_interface.get(), static_cast<long>(count), col, row.row, row.plan, row.sequence,
                        row.spectralSeries));
  m_heldBack->keep(*m_interface, row.voxels.data() + offset, static_cast<long>(count), col, row.row, row.plan,
                   row.sequence, row.spectralSeries);
}

template <class T, class A>
void View<T, A>::writeAllTemporizedRows() {
  PXL_PROBE(onWriteAllTemporized(m_interface.get()));
  if (!m_heldBack->isEmpty()) m_heldBack->writeAll(*m_interface);
}

#define PXL_INSTANTIATE(T) template class View<T, SimdVec::AlignedAllocator<T, 16>>;
PXL_FOR_EACH_VOXEL_TYPE(PXL_INSTANTIATE)
#undef PXL_INSTANTIATE

}  // namespace pxl::access
