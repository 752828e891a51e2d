#include "pxl/algorithms/AbstractPrivateImplementation.h"

#include <algorithm>

#include "ExecutionState.h"
#include "instrument/Instrument.h"
#include "pxl/BaseAlgorithm.h"
#include "pxl/BaseTbbAlgorithm.h"

namespace pxl::algorithms {

using Lock = std::lock_guard<std::recursive_mutex>;

// A step counts as 0 of 1 until its work is declared.
AbstractPrivateImplementation::AbstractPrivateImplementation(BaseAlgorithm* algorithm)
    : m_cancelled(false),
      m_progress(0),
      m_maxProgress(1),
      m_currentStep(1),
      m_numberOfSteps(1),
      m_publicInterface(algorithm),
      m_registeredWith(algorithm),
      m_currentChild(nullptr),
      m_operator(nullptr),
      m_taskGroupOwner(nullptr) {
  PXL_PROBE(onFrameNew(this));
  if (!algorithm) return;
  Lock const lock(getFrameLock());
  algorithm->m_execution->frames.push_back(this);
  if (*algorithm->m_execution->isCancelRequested) m_cancelled.store(true, std::memory_order_relaxed);
}

AbstractPrivateImplementation::~AbstractPrivateImplementation() {
  PXL_PROBE(onFrameDelete(this));
  if (!m_registeredWith) return;
  Lock const lock(getFrameLock());
  auto& frames = m_registeredWith->m_execution->frames;
  frames.erase(std::remove(frames.begin(), frames.end(), this), frames.end());
}

// Not virtual: the frame may be in its constructor or destructor.
void AbstractPrivateImplementation::raiseCancel() {
  Lock const lock(getFrameLock());
  m_cancelled.store(true, std::memory_order_relaxed);
  if (m_taskGroupOwner) m_taskGroupOwner->m_taskGroupContext.cancel_group_execution();
  if (m_currentChild) m_currentChild->cancelExecution();
  if (m_operator) m_operator->cancelExecution();
}

void AbstractPrivateImplementation::cancelExecution() { raiseCancel(); }

void AbstractPrivateImplementation::run() {}

BaseAlgorithm* AbstractPrivateImplementation::getPublicInterface() const { return m_publicInterface; }

void AbstractPrivateImplementation::runChildAlgo(AbstractPrivateImplementation* child) {
  PXL_PROBE(onRunChild(this, child));
  // Unregisters the child on every path, before it can be destroyed.
  struct Publication {
    Publication(AbstractPrivateImplementation& parentFrame, AbstractPrivateImplementation* child)
        : parent(parentFrame) {
      Lock const lock(getFrameLock());
      if (!child->m_publicInterface) child->m_publicInterface = parent.m_publicInterface;
      parent.m_currentChild = child;
      if (parent.m_cancelled.load(std::memory_order_relaxed)) child->cancelExecution();
    }
    ~Publication() {
      Lock const lock(getFrameLock());
      parent.m_currentChild = nullptr;
      if (isDone) ++parent.m_currentStep;
    }
    AbstractPrivateImplementation& parent;
    bool isDone = false;
  };
  Publication publication(*this, child);
  child->run();
  publication.isDone = true;
}

// Represents an operator in the frame of another one.
class AbstractPrivateImplementation::OperatorRun final : public AbstractPrivateImplementation {
 public:
  explicit OperatorRun(BaseAlgorithm& child) : AbstractPrivateImplementation(nullptr) { m_operator = &child; }
  void run() override { m_operator->executeWithin(*getPublicInterface()); }
};

void AbstractPrivateImplementation::runChildAlgo(BaseAlgorithm& child) {
  OperatorRun frame(child);
  runChildAlgo(&frame);
}

void AbstractPrivateImplementation::setNumberOfSteps(unsigned long count) {
  PXL_PROBE(onSetNumberOfSteps(this, count));
  m_numberOfSteps.store(count);
  m_currentStep.store(1);
}

void AbstractPrivateImplementation::setMaxProgress(unsigned long count) {
  PXL_PROBE(onSetMaxProgress(this, count));
  m_maxProgress.store(count);
  m_progress.store(0);
}

double AbstractPrivateImplementation::getDoneFraction() const {
  if (m_operator) return m_operator->getProgress();
  double const nbSteps = static_cast<double>(m_numberOfSteps.load());
  if (nbSteps == 0) return 1;
  double const total = static_cast<double>(m_maxProgress.load());
  // A poll between the two stores that begin a step may see the work of the previous one.
  double const ofStep = m_currentChild ? m_currentChild->getDoneFraction()
                        : total == 0   ? 1
                                       : std::min(1.0, static_cast<double>(m_progress.load()) / total);
  double const fraction = (static_cast<double>(m_currentStep.load()) - 1 + ofStep) / nbSteps;
  return std::clamp(fraction, 0.0, 1.0);
}

}  // namespace pxl::algorithms
