#pragma once

#include <functional>
#include <optional>

#include "pxl/BaseAlgorithm.h"

namespace qorn {

/**
 * Runs an algorithm while this thread watches, and then `write`, which may write a result that nobody can see yet. An
 * interrupt or termination signal cancels either, a second one of the same kind ends the process. On return the
 * signals have their own effect again, and none has come before. A progress line is drawn on standard error if that
 * is a terminal.
 *
 * @param window  the part that is computed; without, the whole result
 * @throws ProgramError cCancelled when a signal came; whatever the run throws, with the operator's name; of `write`
 * FileErrors come through unchanged
 */
void executeNamed(pxl::BaseAlgorithm& algorithm, bool isQuiet, std::function<void()> const& write = nullptr,
                  std::optional<pxl::access::Region> const& window = std::nullopt);

/** What executeNamed() runs in place of an algorithm alone. */
struct SupervisedTask {
  std::function<void()> run;            ///< runs the algorithm, maybe several times, and looks at isCancelRequested()
  std::function<double()> getProgress;  ///< from 0 to 1; from any thread
};
/** The same for a task that runs `algorithm`, which is cancelled and gives its name. */
void executeNamed(pxl::BaseAlgorithm& algorithm, SupervisedTask const& task, bool isQuiet,
                  std::function<void()> const& write);

/** Whether a signal has asked executeNamed() to end; what writes for long is to look at it. From any thread. */
bool isCancelRequested();

}  // namespace qorn
