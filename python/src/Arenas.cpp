#include "Arenas.h"

#include <tbb/info.h>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace qorn::python {
namespace {

using Idle = std::map<int, std::vector<std::unique_ptr<tbb::task_arena>>>;

// Never destroyed: its threads may outlive what is destroyed at the end.
Idle& getIdle() {
  static auto& idle = *new Idle;
  return idle;
}

}  // namespace

int getNbCores() { return tbb::info::default_concurrency(); }

Arena::Arena(int nbThreads) : m_nbThreads(std::clamp(nbThreads, 1, getNbCores())) {
  auto& idle = getIdle()[m_nbThreads];
  if (idle.empty()) {
    m_arena = std::make_unique<tbb::task_arena>(m_nbThreads);
  } else {
    m_arena = std::move(idle.back());
    idle.pop_back();
  }
}

Arena::~Arena() { getIdle()[m_nbThreads].push_back(std::move(m_arena)); }

}  // namespace qorn::python
