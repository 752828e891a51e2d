#pragma once

#include <stdexcept>
#include <string>

namespace qorn {

/** Exit codes of the program. */
enum ExitCodes : int { cDone = 0, cFailed = 1, cUsage = 2, cCancelled = 130 };

/** Ends the program with an exit code and one line on standard error: "qorn: WHAT: WHY". */
class ProgramError : public std::runtime_error {
 public:
  ProgramError(ExitCodes exitCode, std::string const& what, std::string const& why)
      : std::runtime_error(what + ": " + why), m_exitCode(exitCode) {}

  ExitCodes getExitCode() const { return m_exitCode; }

 private:
  ExitCodes m_exitCode;
};

/** The command line is invalid. */
class UsageError : public ProgramError {
 public:
  UsageError(std::string const& what, std::string const& why) : ProgramError(cUsage, what, why) {}
};

}  // namespace qorn
