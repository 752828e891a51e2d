#include "CurrentRun.h"

#include <utility>

#include "ExtraMemory.h"
#include "pxl/BaseAlgorithm.h"

namespace pxl {
namespace {

thread_local CurrentRun* currentRun = nullptr;

}  // namespace

CurrentRun::CurrentRun(BaseAlgorithm const& algorithm, std::shared_ptr<std::atomic<bool> const> isCancelled)
    : m_algorithm(algorithm), m_isCancelled(std::move(isCancelled)), m_outer(std::exchange(currentRun, this)) {}

CurrentRun::~CurrentRun() { currentRun = m_outer; }

CurrentRun* CurrentRun::get() { return currentRun; }

std::shared_ptr<std::atomic<bool> const> CurrentRun::getCancelFlag() {
  static std::atomic<bool> const never{false};
  return currentRun ? currentRun->m_isCancelled
                    : std::shared_ptr<std::atomic<bool> const>(std::shared_ptr<void>(), &never);
}

unsigned long CurrentRun::getExtraMemory() {
  return currentRun ? currentRun->m_algorithm.getMaximumExtraMemoryUsageInBytes() : getDefaultExtraMemory();
}

void CurrentRun::noteFailure(std::exception_ptr failure) noexcept {
  if (!m_failure) m_failure = std::move(failure);
}

void CurrentRun::raiseFailure() const {
  if (m_failure) std::rethrow_exception(m_failure);
}

}  // namespace pxl
