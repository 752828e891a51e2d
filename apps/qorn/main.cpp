#include <exception>
#include <new>
#include <variant>

#include "qorn/CommandLine.h"
#include "qorn/Commands.h"
#include "qorn/Errors.h"
#include "qorn/StandardOutput.h"

namespace qorn {

ExitCodes execute(TextCommand const& command) {
  if (!command.isError) {
    writeOutput(command.text);
    return cDone;
  }
  writeErrorText(command.text);
  return cUsage;
}

}  // namespace qorn

int main(int argc, char** argv) {
  using namespace qorn;
  prepareStandardStreams();
  try {
    return std::visit([](auto const& command) { return execute(command); }, parseCommandLine(argc, argv));
  } catch (ProgramError const& error) {
    writeErrorLine(error.what());
    return error.getExitCode();
  } catch (std::bad_alloc const&) {
    writeErrorLine("memory: not enough");
    return cFailed;
  } catch (std::exception const& error) {
    writeErrorLine(error.what());
    return cFailed;
  }
}
