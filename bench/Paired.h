#pragma once

#include <functional>
#include <string>

/**
 * Benchmarks in pairs: two sides that do the same work run in turn, A B B A A B ..., so that whatever else the
 * machine does falls on both. What counts is the median of the ratios, pair by pair; absolute times are only for
 * orientation.
 */
namespace bench {

/** One side of a pair: does the whole work once. */
using Side = std::function<void()>;

/**
 * Registers "name" with the counters `ratio` (median of time of `ours` by time of `theirs`), `ours_ms`, `theirs_ms`
 * (medians) and the quartiles of the ratio. Both sides run in one arena of `nbThreads`, the same for all benchmarks
 * with that number of threads. `setUp` is called before the first pair and gives the two sides, so that images only
 * live while they are needed.
 */
struct Pair {
  Side ours;
  Side theirs;
};
constexpr int cNbPairs = 31;
void addPair(std::string const& name, int nbThreads, std::function<Pair()> setUp, int nbPairs = cNbPairs);

}  // namespace bench
