#include <benchmark/benchmark.h>
#include <tbb/global_control.h>

#include <cstring>

#include "Benchmarks.h"
#include "pxl/Plugins.h"

// With --wide as the first argument our sides are computed by the runners `wide` where they accept, else by `sse41`.
int main(int argc, char** argv) {
  // Workers for the largest arena: if the limit changed between benchmarks, some would have too few.
  tbb::global_control const workers(tbb::global_control::max_allowed_parallelism, 16);
  pxl::plugins::load(PXLWORKS_PLUGIN_PATH);
  pxl::plugins::load(PXLWORKS_ELEMENTS_PATH);
  if (argc > 1 && std::strcmp(argv[1], "--wide") == 0) {
    pxl::plugins::load(PXLWORKS_WIDE_PATH);
    argv[1] = argv[0];
    ++argv;
    --argc;
  }
  bench::addCancel();
  bench::addCompositions();
  bench::addErosion();
  bench::addFir();
  bench::addIntensityExtrema();
  bench::addLogical();
  bench::addMorphology2d();
  bench::addMorphology3d();
  bench::addShapes();
  bench::addWindows();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
