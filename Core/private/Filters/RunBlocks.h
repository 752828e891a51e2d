#pragma once

#include "Core/private/Access/Block.h"
#include "pxl/ParallelLoops.h"

namespace pxl::details {

/** Calls body(leaf) for the leaves of a block, on many threads at once. */
template <class Body, class AnyBlock>
void runBlocks(AnyBlock const& block, Body const& body, tbb::task_group_context& context) {
  parallel::forEachBlock(
      block, [](void const* object, AnyBlock const& leaf) { (*static_cast<Body const*>(object))(leaf); }, &body,
      context);
}

/**
 * Calls body(leaf) for the leaves of a block on bodies that are split off as threads need them, by the constructor
 * Body(Body&, tbb::split), and joined by join(right).
 */
template <class Body>
void reduceBlocks(access::Block3d const& block, Body& body, tbb::task_group_context& context) {
  static constexpr parallel::ReductionCalls cCalls{
      [](void* object, access::Block3d const& leaf) { (*static_cast<Body*>(object))(leaf); },
      [](void* object) -> void* { return new Body(*static_cast<Body*>(object), tbb::split()); },
      [](void* object, void* right) { static_cast<Body*>(object)->join(*static_cast<Body*>(right)); },
      [](void* object) { delete static_cast<Body*>(object); }};
  parallel::reduceBlocks(block, cCalls, &body, context);
}

}  // namespace pxl::details
