#pragma once

#include <string>
#include <string_view>

namespace qorn {

/**
 * Prepares the process for output: writing to a closed pipe fails instead of ending the program silently, and closed
 * standard streams aren't reused for files.
 */
void prepareStandardStreams();

/** Writes all of the text to standard output. @throws ProgramError when not everything could be written */
void writeOutput(std::string_view text);

/** "qorn: MESSAGE" as one line; control characters become spaces. */
std::string makeErrorLine(std::string_view message);
/** Writes that line to standard error. */
void writeErrorLine(std::string_view message);

/**
 * Writes the text to standard error unchanged. May be called in a signal handler. Failures can't be reported and are
 * ignored.
 */
void writeErrorText(std::string_view text);

}  // namespace qorn
