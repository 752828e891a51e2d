#include "Calls.h"

#include <pthread.h>
#include <pybind11/pybind11.h>

#include <chrono>
#include <thread>

#include "Failure.h"

namespace qorn::python {
namespace {

// Guarded by the interpreter's lock, which a forking thread holds as well.
long s_nbCalls = 0;
bool s_isUsed = false;
bool s_isEnding = false;
bool s_isForkedAfterCalls = false;

[[maybe_unused]] int const isWatching = ::pthread_atfork(nullptr, nullptr, [] {
  s_isForkedAfterCalls = s_isForkedAfterCalls || s_isUsed;
  s_nbCalls = 0;  // those of threads that this process hasn't
});

}  // namespace

Call::Call() {
  if (s_isEnding) throw Failure("the interpreter is ending");
  ++s_nbCalls;
  s_isUsed = true;
}

Call::~Call() { --s_nbCalls; }

bool isEnding() { return s_isEnding; }

void endCalls() {
  s_isEnding = true;
  // A callback of a call may hang for reasons of its own.
  auto const latest = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (s_nbCalls > 0 && std::chrono::steady_clock::now() < latest) {
    pybind11::gil_scoped_release const unlocked;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

bool isForkedAfterCalls() { return s_isForkedAfterCalls; }

}  // namespace qorn::python
