#pragma once

#include <string>

#include "pxl/BaseAlgorithm.h"

namespace qorn {

/**
 * Runs an algorithm while this thread watches: an interrupt or termination signal cancels the run, a second one of
 * the same kind ends the process; a progress line is drawn on standard error if that is a terminal.
 *
 * @throws what the run throws; ExceptionCancelation when it was cancelled
 */
void executeSupervised(pxl::BaseAlgorithm& algorithm, std::string const& name, bool isQuiet);

/** The same; whatever the run throws becomes a ProgramError that names the operator. */
void executeNamed(pxl::BaseAlgorithm& algorithm, bool isQuiet);

}  // namespace qorn
