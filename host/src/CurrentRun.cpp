#include "CurrentRun.h"

#include <utility>

namespace pxl {
namespace {

thread_local CurrentRun* currentRun = nullptr;

}  // namespace

CurrentRun::CurrentRun(BaseAlgorithm const& algorithm)
    : m_algorithm(algorithm), m_outer(std::exchange(currentRun, this)) {}

CurrentRun::~CurrentRun() { currentRun = m_outer; }

CurrentRun* CurrentRun::get() { return currentRun; }

void CurrentRun::noteFailure(std::exception_ptr failure) noexcept {
  if (!m_failure) m_failure = std::move(failure);
}

void CurrentRun::raiseFailure() const {
  if (m_failure) std::rethrow_exception(m_failure);
}

}  // namespace pxl
