#include "Run.h"

#include <algorithm>
#include <chrono>
#include <optional>

#include "Arenas.h"
#include "Calls.h"
#include "Failure.h"
#include "pxl/Exception.h"
#include "pxl/Property.h"
#include "pxl/RunInBackground.h"

namespace qorn::python {
namespace {

namespace py = pybind11;
using Clock = std::chrono::steady_clock;

constexpr unsigned long cPeriodInMilliseconds = 5;  // far below what a user notices, far above what it costs
constexpr auto cProgressPeriod = std::chrono::milliseconds(100);
// Voxels and steps of what takes at most a few milliseconds: another thread would cost more than it is worth.
constexpr double cMaxShortWork = 1 << 20;

double countTaps(pxl::BaseAlgorithm const& algorithm) {
  std::size_t nbTaps = 0;
  for (pxl::PropertyBase const* property : algorithm.getProperties()) {
    pxl::visitProperty(
        *property,
        pxl::Overloaded{
            [&](pxl::Property<pxl::kernel::Kernel2D> const& kernel) { nbTaps += kernel.get().getOffsets().size(); },
            [&](pxl::Property<pxl::kernel::Kernel3D> const& kernel) { nbTaps += kernel.get().getOffsets().size(); },
            [](pxl::PropertyBase const&) {}});
  }
  return static_cast<double>(nbTaps);
}

/** Looks after a run, again and again. */
class Watch {
 public:
  Watch(pxl::RunInBackground& run, RunOptions const& options) : m_run(run), m_options(options) {}

  void look() {
    if (m_failure || m_isCancelled) return;
    try {
      if (PyErr_CheckSignals() != 0) throw py::error_already_set();
      m_isCancelled = isEnding() || (m_options.cancel != nullptr && m_options.cancel->isCancelled());
      if (m_isCancelled) return m_run.cancel();
      showProgress();
    } catch (py::error_already_set const& failure) {
      m_failure = failure;
      m_run.cancel();
    }
  }

  /** Throws what came up, or what the run threw. */
  void finish() {
    if (m_failure) throw py::error_already_set(*m_failure);
    try {
      m_run.get();
    } catch (pxl::ExceptionCancelation const&) {
      if (isEnding()) throw Failure("cancelled, since the interpreter is ending");
      throw;
    }
  }

 private:
  void showProgress() {
    if (m_options.progress.is_none() || Clock::now() < m_nextProgress) return;
    m_options.progress(m_run.getProgress());
    m_nextProgress = Clock::now() + cProgressPeriod;
  }

  pxl::RunInBackground& m_run;
  RunOptions const& m_options;
  Clock::time_point m_nextProgress = Clock::now() + cProgressPeriod;
  std::optional<py::error_already_set> m_failure;
  bool m_isCancelled = false;
};

void executeWatched(pxl::BaseAlgorithm& algorithm, tbb::task_arena& arena, RunOptions const& options) {
  pxl::RunInBackground run(algorithm);
  Watch watch(run, options);
  run.start([&] { arena.execute([&] { algorithm.execute(); }); });
  for (bool isOver = false; !isOver; watch.look()) {
    py::gil_scoped_release const unlocked;
    isOver = run.waitFor(cPeriodInMilliseconds);
  }
  watch.finish();
  if (!options.progress.is_none()) options.progress(1.0);
}

}  // namespace

void execute(pxl::BaseAlgorithm& algorithm, double nbVoxels, RunOptions const& options) {
  // The host refuses, before it waits for threads that there aren't.
  if (isForkedAfterCalls()) return algorithm.execute();
  if (options.cancel != nullptr && options.cancel->isCancelled()) throw pxl::ExceptionCancelation();
  Call const call;
  Arena const arena(options.nbThreads);
  double const work = nbVoxels * std::max({1.0, algorithm.estimateSteps(), countTaps(algorithm)});
  try {
    if (work > cMaxShortWork || !options.progress.is_none()) {
      executeWatched(algorithm, arena.get(), options);
    } else {
      py::gil_scoped_release const unlocked;
      arena.get().execute([&] { algorithm.execute(); });
    }
  } catch (pxl::RuntimeError const& error) {
    auto const runners = algorithm.getRunners();
    pxl::String const wanted = algorithm.getRunner();
    bool const isAccepted = std::any_of(runners.begin(), runners.end(), [&](pxl::RunnerInfo const& runner) {
      return runner.isAccepting && (wanted.empty() || runner.name == wanted);
    });
    if (isAccepted) throw SystemFailure(error.what());
    throw;
  }
}

}  // namespace qorn::python
