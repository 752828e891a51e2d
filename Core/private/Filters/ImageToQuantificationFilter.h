#pragma once

#include <memory>

#include "Core/private/Access/ArchView.h"
#include "Core/private/Filters/ManyToManyImageFilter.h"
#include "pxl/BaseTbbAlgorithm.h"

namespace pxl {

/**
 * Reads an image once and reduces it to a value. `Functor` is default-constructible and has `run(block, filter)`,
 * which reads a block through the filter's view, and `merge(other)`. Blocks run in parallel on their own functors,
 * which are merged into the caller's. Serves one run.
 */
template <class T, class Arch, class Functor, class Tag>
class ImageToQuantificationFilter : public BaseTbbAlgorithm {
 public:
  using FunctorType = Functor;
  using ArchType = Arch;
  using ViewType = access::ArchView<T, Arch>;

  /** The caller's functor must outlive the filter. */
  ImageToQuantificationFilter(BaseAlgorithm* algorithm, Functor* functor)
      : BaseTbbAlgorithm(algorithm), m_functor(functor) {}

  void setInput(std::shared_ptr<ViewType const> view) { m_input = std::move(view); }
  std::shared_ptr<ViewType const> const& getInput() const { return m_input; }
  Functor* getFunctor() const { return m_functor; }

  void run() override { details::DoRunManyToManyImageFilter<Tag, FilterWithReductionTag>::run(this); }

  /** Nothing is written here. */
  virtual void writeTemporizedOutputs() {}

 private:
  Functor* m_functor;
  std::shared_ptr<ViewType const> m_input;
};

template <class T, class Arch, class Functor>
class ImageToQuantificationFilter3d final : public ImageToQuantificationFilter<T, Arch, Functor, Filter3dTag> {
 public:
  using ImageToQuantificationFilter<T, Arch, Functor, Filter3dTag>::ImageToQuantificationFilter;
};

}  // namespace pxl
