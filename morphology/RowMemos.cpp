#include "morphology/RowMemos.h"

namespace pxl::morphology {

template <class T>
RowMemos<T>::RowMemos() : firstMemos(std::make_shared<Memos>()), secondMemos(std::make_shared<Memos>()) {}

template <class T>
RowMemos<T>::~RowMemos() = default;

template <class T>
typename RowMemos<T>::Pair RowMemos<T>::get(unsigned long nbCols) const {
  Memo& first = firstMemos->local();
  Memo& second = secondMemos->local();
  // The second one is tested: if its growth failed, the first one is large already.
  if (nbCols > second.size()) {
    first.resize(nbCols);
    second.resize(nbCols);
  }
  return {first.data(), second.data()};
}

template <class T>
PlanStarts<T>::PlanStarts() : starts(std::make_shared<OfThreads>()) {}

template <class T>
PlanStarts<T>::~PlanStarts() = default;

template <class T>
typename PlanStarts<T>::Starts& PlanStarts<T>::get() const {
  return starts->local();
}

#define PXL_COMPILE(T)         \
  template struct RowMemos<T>; \
  template struct PlanStarts<T>;
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILE)
#undef PXL_COMPILE

}  // namespace pxl::morphology
