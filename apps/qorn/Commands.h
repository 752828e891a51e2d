#pragma once

#include "qorn/CommandLine.h"

namespace qorn {

/**
 * Each writes its result to standard output and returns the exit code.
 * @throws ProgramError, FileError, and as the host
 */
ExitCodes execute(RunCommand const& command);
ExitCodes execute(OperatorsCommand const& command);
ExitCodes execute(InfoCommand const& command);
ExitCodes execute(ElementCommand const& command);
ExitCodes execute(TextCommand const& command);

}  // namespace qorn
