#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

#include "Benchmarks.h"
#include "Images.h"
#include "pxl/Exception.h"
#include "pxl/filtering/linear/FiniteImpulseResponseFilter.h"
#include "pxl/morphology/Morphology.h"

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;
using Algorithm = std::unique_ptr<pxl::BaseAlgorithm>;

/** An operator with slow blocks, and the image that it runs on. */
struct SlowRun {
  std::shared_ptr<pxl::Image> input;
  std::shared_ptr<pxl::Image> output;
  Algorithm algorithm;
};

template <class Algo>
SlowRun makeSlowRun(pxl::ImageSizes const& sizes, void (*setUp)(Algo&)) {
  auto algorithm = std::make_unique<Algo>();
  SlowRun run{pxl::Image::New(pxl::cUnsignedInteger8, sizes), pxl::Image::New(pxl::cUnsignedInteger8, sizes), {}};
  algorithm->inputImage = run.input.get();
  algorithm->outputImage = run.output.get();
  setUp(*algorithm);
  run.algorithm = std::move(algorithm);
  return run;
}

pxl::kernel::Kernel3D makeCube(long reach) {
  std::vector<pxl::kernel::Offset3D> offsets;
  for (long plan = -reach; plan <= reach; ++plan)
    for (long row = -reach; row <= reach; ++row)
      for (long col = -reach; col <= reach; ++col) offsets.push_back({col, row, plan});
  std::vector<double> const coefficients(offsets.size(), 1. / static_cast<double>(offsets.size()));
  return {offsets, coefficients};
}

// Milliseconds from the call of cancelExecution(), `delay` after the start, to the end of execute().
double measureCancel(pxl::BaseAlgorithm& algorithm, std::chrono::milliseconds delay) {
  Clock::time_point end;
  bool isCancelled = false;
  std::thread runner([&] {
    try {
      algorithm.execute();
    } catch (pxl::ExceptionCancelation const&) {
      isCancelled = true;
    }
    end = Clock::now();
  });
  std::this_thread::sleep_for(delay);
  Clock::time_point const begin = Clock::now();
  algorithm.cancelExecution();
  runner.join();
  return isCancelled ? std::chrono::duration<double, std::milli>(end - begin).count() : -1;
}

void add(char const* name, SlowRun (*make)()) {
  benchmark::RegisterBenchmark((std::string("Cancel/") + name).c_str(),
                               [make](benchmark::State& state) {
                                 SlowRun const run = make();
                                 std::vector<double> latencies;
                                 for (auto _ : state)
                                   for (int i = 0; i < 20; ++i) {
                                     double const latency =
                                         measureCancel(*run.algorithm, std::chrono::milliseconds(20 + 17 * i));
                                     if (latency < 0) return state.SkipWithError("the run ended before the cancel");
                                     latencies.push_back(latency);
                                   }
                                 std::sort(latencies.begin(), latencies.end());
                                 state.counters["median_ms"] = latencies[latencies.size() / 2];
                                 state.counters["largest_ms"] = latencies.back();
                               })
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
}

}  // namespace

void addCancel() {
  using namespace pxl::morphology;
  using namespace pxl::filtering::linear;
  add("DilationBall3d/exact,r=40/256x256x256", [] {
    return makeSlowRun<DilationBall3d>({256, 256, 256, 1, 1}, [](DilationBall3d& ball) {
      ball.radius = 40;
      ball.shapeMode = 1;
    });
  });
  add("FiniteImpulseResponseFilter3D/31x31x31/256x256x256", [] {
    return makeSlowRun<FiniteImpulseResponseFilter3D>(
        {256, 256, 256, 1, 1}, [](FiniteImpulseResponseFilter3D& filter) { filter.kernel = makeCube(15); });
  });
  add("DilationDisk2d/exact,r=400/4096x4096", [] {
    return makeSlowRun<DilationDisk2d>({4096, 4096, 1, 1, 1}, [](DilationDisk2d& disk) {
      disk.radius = 400;
      disk.shapeMode = 1;
    });
  });
  add("DilationDisk3d/r=60/256x256x256", [] {
    return makeSlowRun<DilationDisk3d>({256, 256, 256, 1, 1}, [](DilationDisk3d& disk) {
      disk.radius = 60;
      disk.firstAngle = 30;
      disk.secondAngle = 40;
    });
  });
  add("Dilation3d/26,N=400/256x256x256", [] {
    return makeSlowRun<Dilation3d>({256, 256, 256, 1, 1}, [](Dilation3d& cube) { cube.numberOfIterations = 400; });
  });
  add("Dilation2d/square,N=4000/4096x4096", [] {
    return makeSlowRun<Dilation2d>({4096, 4096, 1, 1, 1},
                                   [](Dilation2d& square) { square.numberOfIterations = 4000; });
  });
  add("DilationLine2d/2001/8192x8192", [] {
    return makeSlowRun<DilationLine2d>({8192, 8192, 1, 1, 1}, [](DilationLine2d& line) {
      line.lineSize = 2001;
      line.lineAngle = 30;
    });
  });
}

}  // namespace bench
