#pragma once

/** The benchmarks of each operator; main() registers them all. */
namespace bench {

void addIntensityExtrema();
void addMorphology2d();

}  // namespace bench
