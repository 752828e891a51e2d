#include "Paired.h"

#include <benchmark/benchmark.h>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <vector>

namespace bench {
namespace {

constexpr int cNbWarmUps = 3;

tbb::task_arena& getArena(int nbThreads) {
  static std::map<int, std::unique_ptr<tbb::task_arena>> arenas;
  auto& arena = arenas[nbThreads];
  if (!arena) arena = std::make_unique<tbb::task_arena>(nbThreads);
  return *arena;
}

double measure(Side const& side) {
  auto const start = std::chrono::steady_clock::now();
  side();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double quantile(std::vector<double> values, double share) {
  std::sort(values.begin(), values.end());
  return values[static_cast<std::size_t>(share * static_cast<double>(values.size() - 1) + 0.5)];
}

void runPairs(benchmark::State& state, int nbThreads, std::function<Pair()> const& setUp) {
  Pair const pair = setUp();
  std::vector<double> ours, theirs, ratios;
  getArena(nbThreads).execute([&] {
    // A side that is seldom run takes long.
    int const nbWarmUps = state.max_iterations < cNbWarmUps + 1 ? 1 : cNbWarmUps;
    for (int i = 0; i < nbWarmUps; ++i) {
      pair.ours();
      pair.theirs();
    }
    bool isOursFirst = true;
    for (auto _ : state) {
      double const first = measure(isOursFirst ? pair.ours : pair.theirs);
      double const second = measure(isOursFirst ? pair.theirs : pair.ours);
      ours.push_back(isOursFirst ? first : second);
      theirs.push_back(isOursFirst ? second : first);
      ratios.push_back(ours.back() / theirs.back());
      state.SetIterationTime(ours.back());
      isOursFirst = !isOursFirst;
    }
  });
  state.counters["ratio"] = quantile(ratios, 0.5);
  state.counters["ratio_q1"] = quantile(ratios, 0.25);
  state.counters["ratio_q3"] = quantile(ratios, 0.75);
  state.counters["ours_ms"] = 1e3 * quantile(ours, 0.5);
  state.counters["theirs_ms"] = 1e3 * quantile(theirs, 0.5);
}

}  // namespace

void addPair(std::string const& name, int nbThreads, std::function<Pair()> setUp, int nbPairs) {
  benchmark::RegisterBenchmark((name + "/threads:" + std::to_string(nbThreads)).c_str(),
                               [nbThreads, setUp](benchmark::State& state) { runPairs(state, nbThreads, setUp); })
      ->Iterations(nbPairs)
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

}  // namespace bench
