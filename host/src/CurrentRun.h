#pragma once

#include <exception>

#include "pxl/Noncopyable.h"

namespace pxl {

class BaseAlgorithm;

/** The run that the calling thread is in, as long as this object lives. Runs within runs hide each other. */
class CurrentRun : private Noncopyable {
 public:
  explicit CurrentRun(BaseAlgorithm const& algorithm);
  ~CurrentRun();

  /** Null outside a run, and on threads that only work for one. */
  static CurrentRun* get();

  BaseAlgorithm const& getAlgorithm() const { return m_algorithm; }

  /** Keeps the first failure that its place could not raise. */
  void noteFailure(std::exception_ptr failure) noexcept;
  /** Throws what was kept. */
  void raiseFailure() const;

 private:
  BaseAlgorithm const& m_algorithm;
  CurrentRun* m_outer;
  std::exception_ptr m_failure;
};

}  // namespace pxl
