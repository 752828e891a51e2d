#pragma once

#include "Core/private/Filters/FilterTags.h"

namespace pxl::details {

/**
 * The loop of the filters that go once over their images: one parallel run for each sequence and spectral position.
 * Reduction says whether the blocks write an image or contribute to a value.
 */
template <class Tag, class Reduction>
struct DoRunManyToManyImageFilter;

template <>
struct DoRunManyToManyImageFilter<Filter3dTag, FilterWithReductionTag> {
  /** @throws ExceptionCancelation the filter was cancelled, even when all its blocks were done */
  template <class Filter>
  static void run(Filter* filter);
};

}  // namespace pxl::details

#include "Core/private/Filters/ManyToManyImageFilter.impl"
