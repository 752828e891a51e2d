#pragma once

#include <functional>
#include <optional>

#include "pxl/BaseAlgorithm.h"

namespace qorn {

/**
 * Runs an algorithm while this thread waits, and then `write`, which may write a result that isn't visible yet. An
 * interrupt or termination signal cancels either; a second one of the same kind ends the process. On return the
 * signals have their previous effect again, and none was received. A progress line is drawn on standard error if that
 * is a terminal.
 *
 * @param window  the part that is computed; the whole result if empty
 * @throws ProgramError cCancelled after a signal; else the failure of the run, with the operator's name
 * @throws FileError    as `write`
 */
void runWithProgress(pxl::BaseAlgorithm& algorithm, bool isQuiet, std::function<void()> const& write = nullptr,
                     std::optional<pxl::access::Region> const& window = std::nullopt);

/** What runWithProgress() runs instead of an algorithm. */
struct TaskWithProgress {
  std::function<void()> run;            ///< runs the algorithm, possibly several times, and tests isCancelRequested()
  std::function<double()> getProgress;  ///< from 0 to 1; from any thread
};
/** The same for a task that runs `algorithm`, which is cancelled and whose name is used. */
void runWithProgress(pxl::BaseAlgorithm& algorithm, TaskWithProgress const& task, bool isQuiet,
                     std::function<void()> const& write);

/** Whether a signal has asked runWithProgress() to end; long writes must test it. From any thread. */
bool isCancelRequested();

}  // namespace qorn
