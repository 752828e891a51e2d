#pragma once

#include <tbb/task_group.h>

#include "pxl/Export.h"

namespace pxl::access {
class Block2d;
class Block3d;
}  // namespace pxl::access

/**
 * The parallel loops of all operators. TBB's tasks are compiled into the host: when a loop has ended, a worker may
 * still be returning from its last task, and must not need the code of a plug-in then. When a loop returns, all calls
 * of the functions passed to it have returned.
 *
 * All three split `block` in halves down to its grain sizes with TBB's automatic partitioner, run the leaves on the
 * threads of the caller's arena within `context`, and block until the last one is done. The first exception of a leaf
 * cancels the context and is rethrown. A cancelled loop returns normally.
 */
namespace pxl::parallel {

/** Calls run(body, leaf) for each leaf of `block`. */
PXL_API void forEachBlock(access::Block2d const& block, void (*run)(void const* body, access::Block2d const& leaf),
                          void const* body, tbb::task_group_context& context);
PXL_API void forEachBlock(access::Block3d const& block, void (*run)(void const* body, access::Block3d const& leaf),
                          void const* body, tbb::task_group_context& context);

/** The functions of a reduction. Each body is used by one thread at a time. */
struct ReductionCalls {
  void (*run)(void* body, access::Block3d const& leaf);
  void* (*split)(void* body);             ///< returns a new body without results
  void (*join)(void* body, void* right);  ///< adds the results of `right`, which takes the blocks after those of body
  void (*destroy)(void* body);            ///< called for each body that split returned
};

/** Reduces the leaves of `block` into `body`, which the caller owns. */
PXL_API void reduceBlocks(access::Block3d const& block, ReductionCalls const& calls, void* body,
                          tbb::task_group_context& context);

}  // namespace pxl::parallel
