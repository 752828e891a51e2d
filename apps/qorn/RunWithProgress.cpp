#include "qorn/RunWithProgress.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <new>
#include <string>

#include "pxl/AlgoInfo.h"
#include "pxl/Exception.h"
#include "pxl/RunInBackground.h"
#include "qorn/Errors.h"
#include "qorn/StandardOutput.h"
#include "qorn/io/FileError.h"

namespace qorn {
namespace {

std::atomic<bool> s_isCancelRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "it is set in a signal handler");

constexpr std::array<int, 2> cSignals{SIGINT, SIGTERM};
std::array<struct sigaction, cSignals.size()> s_previous;

/** Restores the previous action, which the second signal triggers. */
void onSignal(int signal) {
  s_isCancelRequested.store(true, std::memory_order_relaxed);
  for (std::size_t i = 0; i < cSignals.size(); ++i) {
    if (cSignals[i] == signal) sigaction(signal, &s_previous[i], nullptr);
  }
}

/** While it exists, the first signal of a kind requests a cancel. */
class SignalGuard : private pxl::Noncopyable {
 public:
  SignalGuard() {
    s_isCancelRequested = false;
    struct sigaction action = {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < cSignals.size(); ++i) {
      sigaction(cSignals[i], nullptr, &s_previous[i]);
      // A signal that the caller ignores, as for background jobs, stays ignored.
      if (s_previous[i].sa_handler != SIG_IGN) sigaction(cSignals[i], &action, nullptr);
    }
  }
  ~SignalGuard() {
    for (std::size_t i = 0; i < cSignals.size(); ++i) sigaction(cSignals[i], &s_previous[i], nullptr);
  }
};

/** A progress line on the terminal that is redrawn, and cleared at the end. */
class ProgressLine : private pxl::Noncopyable {
 public:
  ProgressLine(std::string const& name, bool isQuiet)
      : m_name(name), m_isShown(!isQuiet && ::isatty(STDERR_FILENO)) {}
  ~ProgressLine() {
    if (!m_text.empty()) writeErrorText("\r" + std::string(m_text.size(), ' ') + "\r");
  }

  void draw(double progress) {
    if (!m_isShown) return;
    char percent[8];
    std::snprintf(percent, sizeof percent, "%3d %%", static_cast<int>(progress * 100));
    std::string text = m_name + ' ' + percent;
    if (text == m_text) return;
    writeErrorText('\r' + text);
    m_text = std::move(text);
  }

 private:
  std::string m_name;
  bool m_isShown;
  std::string m_text;
};

void runAndDraw(pxl::BaseAlgorithm& algorithm, TaskWithProgress const& task, std::string const& name, bool isQuiet) {
  constexpr unsigned long cPeriodInMilliseconds = 5;  // too short to be noticed, and much longer than a poll
  pxl::RunInBackground run(algorithm);
  run.start(task.run);
  {
    ProgressLine line(name, isQuiet);
    while (!run.waitFor(cPeriodInMilliseconds)) {
      if (isCancelRequested()) run.cancel();
      line.draw(task.getProgress());
    }
  }
  run.get();
}

/** The signal may have arrived too late for the run, or between two steps. */
void throwIfCancelRequested() {
  if (isCancelRequested()) throw pxl::ExceptionCancelation();
}

}  // namespace

bool isCancelRequested() { return s_isCancelRequested.load(std::memory_order_relaxed); }

void runWithProgress(pxl::BaseAlgorithm& algorithm, bool isQuiet, std::function<void()> const& write,
                     std::optional<pxl::access::Region> const& window) {
  TaskWithProgress const task{
      [&algorithm, &window] { window ? algorithm.executeOnWindow(*window) : algorithm.execute(); },
      [&algorithm] { return algorithm.getProgress(); }};
  runWithProgress(algorithm, task, isQuiet, write);
}

void runWithProgress(pxl::BaseAlgorithm& algorithm, TaskWithProgress const& task, bool isQuiet,
                     std::function<void()> const& write) {
  std::string const name = algorithm.getAlgoInfo()->getName();
  try {
    {
      SignalGuard const signals;
      runAndDraw(algorithm, task, name, isQuiet);
      throwIfCancelRequested();
      if (write) write();
    }
    throwIfCancelRequested();
  } catch (io::FileError const&) {
    throw;
  } catch (pxl::ExceptionCancelation const&) {
    throw ProgramError(cCancelled, name, "cancelled");
  } catch (std::bad_alloc const&) {
    throw ProgramError(cFailed, name, "not enough memory");
  } catch (std::exception const& error) {
    // The host's messages already begin with the operator's name.
    std::string text = error.what();
    std::string const prefix = name + ": ";
    if (text.compare(0, prefix.size(), prefix) == 0) text.erase(0, prefix.size());
    throw ProgramError(cFailed, name, text);
  }
}

}  // namespace qorn
