#pragma once

#include <tbb/parallel_for.h>

#include <atomic>
#include <functional>

#include "pxl/BaseTbbAlgorithm.h"
#include "pxl/Exception.h"

namespace host_test {

/** A small filter on TBB that counts: `count` bodies of one voxel each, in the manner of the product's filters. */
class CountingFilter : public pxl::BaseTbbAlgorithm {
 public:
  CountingFilter(pxl::BaseAlgorithm* algorithm, long count, std::function<void(long)> body = {})
      : BaseTbbAlgorithm(algorithm), m_count(count), m_body(std::move(body)) {}

  void run() override {
    setMaxProgress(static_cast<unsigned long>(m_count));
    tbb::parallel_for(
        tbb::blocked_range<long>(0, m_count, 1),
        [this](tbb::blocked_range<long> const& range) {
          for (long i = range.begin(); i < range.end(); ++i) {
            ++nbBodies;
            if (m_body) m_body(i);
            if (m_cancelled.load(std::memory_order_relaxed)) throw pxl::ExceptionCancelation();
            m_progress.fetch_add(1);
          }
        },
        m_taskGroupContext);
    if (m_cancelled.load(std::memory_order_relaxed)) throw pxl::ExceptionCancelation();
  }

  std::atomic<long> nbBodies{0};

 private:
  long m_count;
  std::function<void(long)> m_body;
};

/** A frame whose run is a function of the test; works without TBB. */
class Stage : public pxl::algorithms::AbstractPrivateImplementation {
 public:
  explicit Stage(pxl::BaseAlgorithm* algorithm, std::function<void(Stage&)> work = {})
      : AbstractPrivateImplementation(algorithm), m_work(std::move(work)) {}
  void run() override {
    if (m_work) m_work(*this);
  }

 private:
  std::function<void(Stage&)> m_work;
};

}  // namespace host_test
