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
 * One run of an algorithm or of a stage of it: the frame of cancellation and progress. It is registered with its
 * public algorithm as long as it exists, whose cancelExecution() and getProgress() use it. Construction, destruction,
 * cancelling and polling share one lock of the host.
 */
class PXL_API AbstractPrivateImplementation : private Noncopyable {
 public:
  /** `algorithm` may be null for a stage that runChildAlgo() will run. Inherits a pending cancel of the algorithm. */
  explicit AbstractPrivateImplementation(BaseAlgorithm* algorithm);
  virtual ~AbstractPrivateImplementation();

  /**
   * Asks the run and its present child to end. From any thread. An override must call this one.
   *
   * The host calls it only for the children of runChildAlgo(), whose lifetime it controls. For the algorithm's own
   * frames, BaseAlgorithm::cancelExecution() sets the flag and cancels the task group directly, because they may be
   * in their constructors or destructors at that moment.
   */
  virtual void cancelExecution();

  /** Does the work. Here nothing. */
  virtual void run();

  BaseAlgorithm* getPublicInterface() const;

  /**
   * Runs `child` as the current step: it takes part in cancellation and progress, and gets the public algorithm of
   * this frame if it has none. On success the next step begins. Exceptions are passed on unchanged.
   */
  void runChildAlgo(AbstractPrivateImplementation* child);

  /**
   * Executes another operator as the current step, as BaseAlgorithm::execute() does. It shares the cancel flag, the
   * progress and the extra memory of the public algorithm of this frame.
   */
  void runChildAlgo(BaseAlgorithm& child);

  /** Declares the number of steps of the run and begins with the first. */
  void setNumberOfSteps(unsigned long count);
  /** Declares the work of the current step, in voxels, and begins at 0. */
  void setMaxProgress(unsigned long count);

  std::atomic<bool> m_cancelled;             ///< set to stop the run; read with relaxed order
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
  BaseAlgorithm* m_operator;           ///< the one that runChildAlgo() executes, with its own frames; else null
  BaseTbbAlgorithm* m_taskGroupOwner;  ///< this, while it has a task group that a cancel must cancel
};

}  // namespace pxl::algorithms
