#pragma once

#include <string>
#include <string_view>

namespace qorn {

/**
 * Prepares the process for honest output: a closed pipe becomes an error of the write instead of a silent end, and
 * closed standard streams don't get reused for files.
 */
void prepareStandardStreams();

/** Writes all of the text to standard output. @throws ProgramError when not everything could be written */
void writeOutput(std::string_view text);

/** "qorn: MESSAGE" as one line; control characters become spaces. */
std::string makeErrorLine(std::string_view message);
/** Writes that line to standard error. */
void writeErrorLine(std::string_view message);

/**
 * Writes the text to standard error as it is, also in a signal handler. Failing to do so isn't reported: there is
 * nowhere left to complain.
 */
void writeErrorText(std::string_view text);

}  // namespace qorn
