#pragma once

#include "Core/private/Access/Block.h"
#include "pxl/ParallelLoops.h"

namespace pxl::details {

/** Calls body(leaf) in parallel for the leaves of a block. All threads share the body. */
template <class Body, class AnyBlock>
void runBlocks(AnyBlock const& block, Body const& body, tbb::task_group_context& context) {
  parallel::forEachBlock(
      block, [](void const* object, AnyBlock const& leaf) { (*static_cast<Body const*>(object))(leaf); }, &body,
      context);
}

/**
 * Calls body(leaf) in parallel for the leaves of a block. Further bodies are made on demand with the constructor
 * Body(Body&, tbb::split), and merged with join(right).
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
