#pragma once

#include "Core/private/Access/Block.h"
#include "Core/private/Filters/FilterCancel.h"
#include "Core/private/Filters/RunBlocks.h"
#include "pxl/BaseTbbAlgorithm.h"

namespace pxl::wide {

/**
 * Calls body(index) for the parts 0 to count - 1 of a run, in parallel where there are several. The body asks whether
 * the run goes on.
 * @throws ExceptionCancelation some parts weren't computed
 */
template <class Body>
void runParts(BaseTbbAlgorithm& filter, long count, Body const& body) {
  auto const run = [&body](access::Block2d const& block) {
    for (long i = block.rowsBegin(); i < block.rowsEnd(); ++i) body(i);
  };
  access::Block2d const parts(0, count, 1, 0, 1, 1, 0, 0, 0);
  if (count < 2)  // without a task, 2 % less for a square of 64 x 64
    run(parts);
  else
    details::runBlocks(parts, run, filter.m_taskGroupContext);
  details::throwIfCancelled(filter);
}

}  // namespace pxl::wide
