#pragma once

#include <atomic>

#include "pxl/Export.h"
#include "pxl/Noncopyable.h"

namespace pxl {
class BaseAlgorithm;
class BaseTbbAlgorithm;
}  // namespace pxl

namespace pxl::algorithms {

/**
 * One run of an algorithm or of a stage of it: the frame that carries cancellation and progress. While it exists it
 * is known to its public algorithm, whose cancelExecution() and getProgress() reach it; construction, destruction,
 * cancelling and polling share one lock of the host.
 */
class PXL_API AbstractPrivateImplementation : private Noncopyable {
 public:
  /** `algorithm` may be null for a stage that runChildAlgo() will run. A pending cancel of the algorithm is taken on.
   */
  explicit AbstractPrivateImplementation(BaseAlgorithm* algorithm);
  virtual ~AbstractPrivateImplementation();

  /**
   * Asks the run and its present child to end; from any thread. An override must call this one. It is called for a
   * child of runChildAlgo(), whose life the host knows. BaseAlgorithm::cancelExecution() sets the flag and the task
   * group of the algorithm's own frames without it: they may be in their constructors or destructors at that moment.
   */
  virtual void cancelExecution();

  /** Does the work; the base class has none. */
  virtual void run();

  BaseAlgorithm* getPublicInterface() const;

  /**
   * Runs `child` as the current step: it takes part in cancellation and progress, gets the public algorithm of this
   * one if it has none, and on success the next step begins. Exceptions come through unchanged.
   */
  void runChildAlgo(AbstractPrivateImplementation* child);

  /**
   * Executes another operator as the current step: as BaseAlgorithm::execute(), but with the cancel flag of the
   * public algorithm of this frame, whose progress it is part of and whose limit on extra memory it takes over.
   */
  void runChildAlgo(BaseAlgorithm& child);

  /** Declares the number of steps of the run and begins with the first. */
  void setNumberOfSteps(unsigned long count);
  /** Declares the work of the current step, in voxels, and begins at 0. */
  void setMaxProgress(unsigned long count);

  std::atomic<bool> m_cancelled;             ///< set when the run is to stop; read relaxed
  std::atomic<unsigned long> m_progress;     ///< voxels done in the current step
  std::atomic<unsigned long> m_maxProgress;  ///< voxels of the current step
  std::atomic<unsigned long> m_currentStep;  ///< from 1
  std::atomic<unsigned long> m_numberOfSteps;

 private:
  friend class pxl::BaseAlgorithm;
  friend class pxl::BaseTbbAlgorithm;
  class OperatorRun;

  void raiseCancel();
  double getDoneFraction() const;

  BaseAlgorithm* m_publicInterface;
  BaseAlgorithm* m_registeredWith;
  AbstractPrivateImplementation* m_currentChild;
  BaseAlgorithm* m_operator;           ///< that this frame executes, with frames of its own; else null
  BaseTbbAlgorithm* m_taskGroupOwner;  ///< this, while it has a task group that a cancel must stop
};

}  // namespace pxl::algorithms
