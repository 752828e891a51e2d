#pragma once

#include <functional>
#include <string>

/**
 * Paired benchmarks: two sides that do the same work run alternately, A B B A A B ..., so that other load on the
 * machine affects both. The result is the median of the ratios of the pairs; absolute times are only for orientation.
 */
namespace bench {

/** One side of a pair: does the whole work once. */
using Side = std::function<void()>;

/**
 * Registers "name" with the counters `ratio` (median of time of `ours` / time of `theirs`), `ours_ms`, `theirs_ms`
 * (medians) and the quartiles of the ratio. Both sides run in one arena of `nbThreads`, the same for all benchmarks
 * with that number of threads. `setUp` is called before the first pair and returns the two sides, so that images
 * exist only while they are needed.
 */
struct Pair {
  Side ours;
  Side theirs;
};
constexpr int cNbPairs = 31;
void addPair(std::string const& name, int nbThreads, std::function<Pair()> setUp, int nbPairs = cNbPairs);

}  // namespace bench
