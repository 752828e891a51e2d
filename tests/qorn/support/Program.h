#pragma once

#include <string>
#include <vector>

namespace test {

/** How a run of a program ended. */
struct Outcome {
  int exitCode = -1;  ///< -1 when a signal ended it
  int signal = 0;
  std::string out;
  std::string err;
  double processorSeconds = 0;
  long peakKilobytes = 0;  ///< of resident memory
};

/** A program that is running; its output is collected by wait(). */
class Program {
 public:
  struct Options {
    std::string outputPath;                ///< where standard output goes, instead of being collected
    bool isOutputClosed = false;           ///< standard output is a pipe that nobody reads
    bool hasTerminal = false;              ///< standard error is a terminal
    unsigned long addressBytes = 0;        ///< limit of the address space; 0 for none
    std::string folder;                    ///< working directory
    std::vector<std::string> environment;  ///< NAME=VALUE, added
  };

  Program(std::string const& path, std::vector<std::string> const& arguments, Options const& options);
  ~Program();
  Program(Program const&) = delete;
  Program& operator=(Program const&) = delete;

  void send(int signal) const;
  /**
   * Waits until the program handles this signal itself, or no more. @return a bit for each signal that it handles
   * then, signal 1 the lowest; 0 when it ended before, or after a while
   */
  unsigned long waitUntilHandled(int signal, bool isHandled = true) const;
  /** How many threads the running program has. */
  unsigned long getNbThreads() const;
  /** Collects standard error until it holds this text; false when the program ends before. */
  bool waitForError(std::string const& text);
  Outcome wait();

 private:
  std::string readStatus(std::string const& name) const;
  bool readOnce();

  int m_process;
  int m_out;
  int m_err;
  Outcome m_outcome;
};

/** Whether memory limits and sizes mean something: not under sanitizers, which use memory of their own. */
bool hasPlainMemory();

}  // namespace test
