#include <cstdio>
#include <exception>
#include <fstream>
#include <string>

#include "pxl/AlgoInfo.h"
#include "pxl/Exception.h"
#include "pxl/Image.h"
#include "pxl/Plugins.h"
#include "pxl/Runnable.h"
#include "pxl/analysis/IntensityExtrema.h"

// A program of a third party that brings its own plug-in. Argument: the plug-in's absolute path.

namespace {

int g_failures = 0;

void expect(bool isTrue, char const* what) {
  if (isTrue) return;
  std::fprintf(stderr, "failed: %s\n", what);
  ++g_failures;
}

bool isMapped(char const* library) {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);)
    if (line.find(library) != std::string::npos) return true;
  return false;
}

void run(char const* plugin) {
  auto image = pxl::Image::New(pxl::cInteger16, {5, 4, 3, 2, 2});
  auto* const voxels = static_cast<short*>(image->getVoxels());
  for (int i = 0; i < 5 * 4 * 3 * 2 * 2; ++i) voxels[i] = static_cast<short>(i);
  voxels[77] = -1234;
  voxels[201] = 30000;

  pxl::analysis::IntensityExtrema extrema;
  pxl::analysis::IntensityExtremaMsr measure;
  extrema.inputImage = image.get();
  extrema.outputMeasure = &measure;

  auto& record = *pxl::analysis::IntensityExtrema::getClassInfo();
  expect(record.getRunners().empty(), "nothing but the host before the plug-in is loaded");
  pxl::plugins::load(plugin);
  expect(record.getRunners().size() == 1 && record.getRunners()[0]->getOptimType() == 2, "the runner is registered");
  expect(isMapped(plugin), "the plug-in is in memory");
  extrema.execute();
  expect(measure.minimum.getValue(0, 0, 0) == -1234, "the minimum");
  expect(measure.maximum.getValue(0, 0, 0) == 30000, "the maximum");

  pxl::plugins::unload(plugin);
  expect(record.getRunners().empty(), "the runner took itself off");
  expect(!isMapped(plugin), "the plug-in is gone from memory");
  bool isRefused = false;
  try {
    extrema.execute();
  } catch (pxl::RuntimeError const&) {
    isRefused = true;
  }
  expect(isRefused, "without the plug-in nothing can run");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  try {
    run(argv[1]);
  } catch (std::exception const& e) {
    std::fprintf(stderr, "failed: %s\n", e.what());
    return 1;
  }
  return g_failures == 0 ? 0 : 1;
}
