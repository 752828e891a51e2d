#include "pxl/ParallelLoops.h"

#include <tbb/parallel_for.h>
#include <tbb/parallel_reduce.h>
#include <tbb/partitioner.h>

#include "Core/private/Access/Block.h"

namespace pxl::parallel {
namespace {

template <class Block>
void runLeaves(Block const& block, void (*run)(void const*, Block const&), void const* body,
               tbb::task_group_context& context) {
  tbb::parallel_for(
      block, [run, body](Block const& leaf) { run(body, leaf); }, tbb::auto_partitioner(), context);
}

class ReducingBody {
 public:
  ReducingBody(ReductionCalls const& calls, void* body) : m_calls(calls), m_body(body), m_isOwned(false) {}
  ReducingBody(ReducingBody& source, tbb::split)
      : m_calls(source.m_calls), m_body(m_calls.split(source.m_body)), m_isOwned(true) {}
  ReducingBody(ReducingBody const&) = delete;
  ReducingBody& operator=(ReducingBody const&) = delete;
  ~ReducingBody() {
    if (m_isOwned) m_calls.destroy(m_body);
  }

  void operator()(access::Block3d const& leaf) const { m_calls.run(m_body, leaf); }
  void join(ReducingBody& right) { m_calls.join(m_body, right.m_body); }

 private:
  ReductionCalls const& m_calls;
  void* m_body;
  bool m_isOwned;
};

}  // namespace

void forEachBlock(access::Block2d const& block, void (*run)(void const*, access::Block2d const&), void const* body,
                  tbb::task_group_context& context) {
  runLeaves(block, run, body, context);
}

void forEachBlock(access::Block3d const& block, void (*run)(void const*, access::Block3d const&), void const* body,
                  tbb::task_group_context& context) {
  runLeaves(block, run, body, context);
}

void reduceBlocks(access::Block3d const& block, ReductionCalls const& calls, void* body,
                  tbb::task_group_context& context) {
  ReducingBody reducing(calls, body);
  tbb::parallel_reduce(block, reducing, tbb::auto_partitioner(), context);
}

}  // namespace pxl::parallel
