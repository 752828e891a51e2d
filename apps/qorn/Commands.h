#pragma once

#include "qorn/CommandLine.h"

namespace qorn {

/** Each writes its result to standard output and tells how the program ends. @throws ProgramError, FileError, or what
 * the host throws */
ExitCodes execute(RunCommand const& command);
ExitCodes execute(OperatorsCommand const& command);
ExitCodes execute(InfoCommand const& command);
ExitCodes execute(ElementCommand const& command);
ExitCodes execute(TextCommand const& command);

}  // namespace qorn
