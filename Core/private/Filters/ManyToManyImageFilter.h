#pragma once

#include "Core/private/Access/Block.h"
#include "Core/private/Filters/FilterTags.h"

namespace pxl {

/** Runs a functor on blocks and adds their voxels to the progress; all threads share the functor. */
template <class Functor, class Filter, class AnyBlock>
struct TbbBodyManyToManyImageFilter {
  void operator()(AnyBlock const& block) const;

  Functor* functor;
  Filter* filter;
};
template <class Functor, class Filter>
struct TbbBody2DManyToManyImageFilter : TbbBodyManyToManyImageFilter<Functor, Filter, access::Block2d> {};
template <class Functor, class Filter>
struct TbbBody3DManyToManyImageFilter : TbbBodyManyToManyImageFilter<Functor, Filter, access::Block3d> {};

namespace details {

/**
 * The loop of the filters that read their images once: one parallel loop for each sequence and spectral position. In
 * 2D only plan 0 is processed. `Reduction` selects whether the blocks write an image or contribute to a value.
 */
template <class Tag, class Reduction>
struct DoRunManyToManyImageFilter {
  /** @throws ExceptionCancelation the filter was cancelled, even when all its blocks were done */
  template <class Filter>
  static void run(Filter* filter);
};

}  // namespace details
}  // namespace pxl

#include "Core/private/Filters/ManyToManyImageFilter.impl"
