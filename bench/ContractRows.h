#pragma once

#include <memory>
#include <utility>

#include "Images.h"
#include "pxl/access/View.h"

namespace bench {

/**
 * Rows of an image, read and written through the contract as an operator does: each read takes a counted reference to
 * the view's border condition and calls it, and each result is written through the view's interface. Nothing else is
 * done.
 */
template <class T>
class ContractRows {
 public:
  ContractRows(ImagePointer const& image, T border)
      : m_view(pxl::access::View<T>::New(image.get(), pxl::access::FixedBorderCondition<T>::New(border))) {}

  void read(T* voxels, long count, long col, long row, long plan) const {
    auto const border = std::as_const(*m_view).getBorderCondition();
    border->readRowAt(m_view->getInterface(), voxels, voxels + count, col, row, plan, 0, 0);
  }
  void write(T const* voxels, long count, long row, long plan) const {
    m_view->getInterface()->writeRowAt(count, voxels, 0, row, plan, 0, 0);
  }

 private:
  std::shared_ptr<pxl::access::View<T>> m_view;
};

}  // namespace bench
