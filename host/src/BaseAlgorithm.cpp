#include "pxl/BaseAlgorithm.h"

#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <mutex>

#include "CurrentRun.h"
#include "ExecutionState.h"
#include "ExtraMemory.h"
#include "ForkCheck.h"
#include "PropertyChecks.h"
#include "Raise.h"
#include "RunGuard.h"
#include "RunnerChoice.h"
#include "WindowRun.h"
#include "instrument/Instrument.h"
#include "pxl/AlgoInfo.h"
#include "pxl/ImageModel.h"
#include "pxl/Property.h"
#include "pxl/Runnable.h"
#include "pxl/algorithms/AbstractPrivateImplementation.h"

namespace pxl {

using algorithms::getFrameLock;
using Lock = std::lock_guard<std::recursive_mutex>;

BaseAlgorithm::BaseAlgorithm() : m_execution(new algorithms::ExecutionState) {}
BaseAlgorithm::~BaseAlgorithm() { delete m_execution; }

namespace {

// Starts the workers once from the host, so that TBB never depends on a plug-in that may be unloaded. Isolated: a
// thread that waits here could otherwise get a task of a caller's loop, which would come here again and deadlock.
void warmTaskScheduler() {
  static std::once_flag once;
  std::call_once(once, [] { tbb::this_task_arena::isolate([] { tbb::parallel_for(0, 2, [](int) {}); }); });
}

// Marks an algorithm as running, and removes the mark on every path.
class Execution : private Noncopyable {
 public:
  /** `parent` is the run that this one is a step of, and whose cancel flag it shares. */
  explicit Execution(algorithms::ExecutionState& state, algorithms::ExecutionState const* parent = nullptr)
      : m_state(state), m_isStep(parent) {
    Lock const lock(getFrameLock());
    if (m_state.isExecuting) PXL_RAISE(InvalidCall, "the algorithm is already running");
    if (m_state.isEachCancelled) throw ExceptionCancelation();
    m_state.isCancelRequested = parent ? parent->isCancelRequested : std::make_shared<std::atomic<bool>>(false);
    m_state.isExecuting = true;
    m_state.progress = 0;
  }
  ~Execution() {
    Lock const lock(getFrameLock());
    m_state.isExecuting = false;
    // The flag of the parent is left unchanged.
    if (m_isStep) m_state.isCancelRequested = std::make_shared<std::atomic<bool>>(false);
    *m_state.isCancelRequested = false;
  }
  void finish() {
    Lock const lock(getFrameLock());
    m_state.progress = 1;
  }

 private:
  algorithms::ExecutionState& m_state;
  bool m_isStep;
  plugins::RunGuard m_guard;
};

}  // namespace

void BaseAlgorithm::execute() {
  checkForkAndNoteUse();
  Execution execution(*m_execution);
  checkProperties(*this);
  warmTaskScheduler();
  CurrentRun run(*this, m_execution->isCancelRequested);
  chooseRunner(*this)->run(this);
  run.raiseFailure();
  execution.finish();
}

void BaseAlgorithm::executeOnWindow(access::Region const& window) {
  checkForkAndNoteUse();
  Execution execution(*m_execution);
  WindowRun windowRun(*this, window);
  warmTaskScheduler();
  CurrentRun run(*this, m_execution->isCancelRequested);
  if (windowRun.hasWork()) {
    chooseRunner(*this)->run(this);
    run.raiseFailure();
    windowRun.store();
    run.raiseFailure();
  }
  execution.finish();
}

void BaseAlgorithm::executeWithin(BaseAlgorithm& parent) {
  if (parent.m_hasExtraMemory && !m_hasExtraMemory) setMaximumExtraMemoryUsageInBytes(parent.m_extraMemory);
  if (m_runner.empty()) m_runner = parent.m_runner;
  Execution execution(*m_execution, parent.m_execution);
  if (*m_execution->isCancelRequested) throw ExceptionCancelation();
  checkProperties(*this);
  CurrentRun run(*this, m_execution->isCancelRequested);
  chooseRunner(*this)->run(this);
  run.raiseFailure();
  execution.finish();
}

void BaseAlgorithm::cancelExecution() {
  Lock const lock(getFrameLock());
  *m_execution->isCancelRequested = m_execution->isExecuting;
  for (algorithms::AbstractPrivateImplementation* frame : m_execution->frames) frame->raiseCancel();
}

double BaseAlgorithm::getProgress() const {
  Lock const lock(getFrameLock());
  if (!m_execution->frames.empty())
    m_execution->progress = std::max(m_execution->progress, m_execution->frames.front()->getDoneFraction());
  return m_execution->progress;
}

void BaseAlgorithm::setProcessingRegion(access::Region const& region) {
  m_processingRegion = region;
  m_hasProcessingRegion = true;
}

void BaseAlgorithm::clearProcessingRegion() {
  m_processingRegion = access::Region();
  m_hasProcessingRegion = false;
}

RegionUses BaseAlgorithm::getRegionUse() const { return RegionUses::cAnyBox; }

bool BaseAlgorithm::hasProcessingRegion() const { return m_hasProcessingRegion; }
access::Region const& BaseAlgorithm::getProcessingRegion() const { return m_processingRegion; }

String BaseAlgorithm::getWarning() const { return String(); }

String BaseAlgorithm::validate() const {
  for (PropertyBase const* property : m_properties)
    if (auto const* const real = asProperty<double>(*property); real && !std::isfinite(real->get()))
      return std::string(property->getName()) + " isn't finite";
  return String();
}

double BaseAlgorithm::estimateSteps() const { return 1; }

VoxelTypes BaseAlgorithm::getNaturalOutputType(VoxelTypes ofInput) const { return ofInput; }

std::vector<RunnerInfo> BaseAlgorithm::getRunners() { return describeRunners(*this); }

void BaseAlgorithm::setRunner(String const& name) { m_runner = name; }

String const& BaseAlgorithm::getRunner() const { return m_runner; }

bool BaseAlgorithm::hasPropertyImageOnDisk() const {
  bool isOnDisk = false;
  for (ImageModel const* image : getImages(*this, PropertyKinds::cInputImage))
    isOnDisk = isOnDisk || (image && image->getSource().storage->isOnDisk());
  for (ImageModel const* image : getImages(*this, PropertyKinds::cOutputImage))
    isOnDisk = isOnDisk || (image && image->getSource().storage->isOnDisk());
  PXL_PROBE(onHasImageOnDisk(isOnDisk));
  return isOnDisk;
}

unsigned long BaseAlgorithm::getMaximumExtraMemoryUsageInBytes() const {
  unsigned long bytes = m_hasExtraMemory ? m_extraMemory : getDefaultExtraMemory();
  PXL_PROBE(onExtraMemory(bytes));
  return bytes;
}

void BaseAlgorithm::setMaximumExtraMemoryUsageInBytes(unsigned long bytes) {
  m_extraMemory = bytes;
  m_hasExtraMemory = true;
}

std::vector<PropertyBase*> const& BaseAlgorithm::getProperties() const { return m_properties; }

PropertyBase* BaseAlgorithm::findProperty(char const* name) const {
  for (PropertyBase* property : m_properties)
    if (name && std::strcmp(property->getName(), name) == 0) return property;
  return nullptr;
}

}  // namespace pxl
