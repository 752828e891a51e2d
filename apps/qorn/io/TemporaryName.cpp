#include "qorn/io/TemporaryName.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <random>

namespace qorn::io {
namespace {

constexpr std::array<int, 3> cSignals{SIGINT, SIGTERM, SIGHUP};
std::array<struct sigaction, cSignals.size()> s_previous;
std::atomic<char const*> s_path{nullptr};
static_assert(std::atomic<char const*>::is_always_lock_free, "it is read in a signal handler");

/** Restores the previous action and raises the signal again; it takes effect when it is unblocked, on return. */
void onSignal(int signal) {
  TemporaryName::unlinkPresent();
  for (std::size_t i = 0; i < cSignals.size(); ++i) {
    if (cSignals[i] == signal) sigaction(signal, &s_previous[i], nullptr);
  }
  ::raise(signal);
}

/** Short, so that it is valid wherever the name of the finished file is. */
std::string makePath(std::string const& folder) {
  std::random_device random;
  char name[32];
  std::snprintf(name, sizeof name, "/.qorn-%08x%08x.part", static_cast<unsigned int>(random()),
                static_cast<unsigned int>(random()));
  return folder + name;
}

}  // namespace

TemporaryName::TemporaryName(std::string const& folder) : m_path(makePath(folder)) {
  s_path = m_path.c_str();
  struct sigaction action = {};
  action.sa_handler = onSignal;
  sigemptyset(&action.sa_mask);
  for (std::size_t i = 0; i < cSignals.size(); ++i) {
    sigaction(cSignals[i], nullptr, &s_previous[i]);
    // A signal that the caller ignores stays ignored.
    if (s_previous[i].sa_handler != SIG_IGN) sigaction(cSignals[i], &action, nullptr);
  }
}

void TemporaryName::unlinkPresent() noexcept {
  char const* const path = s_path.load();
  if (path != nullptr) ::unlink(path);
}

TemporaryName::~TemporaryName() {
  ::unlink(m_path.c_str());
  for (std::size_t i = 0; i < cSignals.size(); ++i) sigaction(cSignals[i], &s_previous[i], nullptr);
  s_path = nullptr;
}

}  // namespace qorn::io
