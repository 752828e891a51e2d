#include <string>

#include "Benchmarks.h"
#include "Images.h"
#include "pxl/access/Region.h"
#include "pxl/filtering/linear/FiniteImpulseResponseFilter.h"
#include "pxl/morphology/Morphology.h"

namespace bench {
namespace {

using pxl::ImageSizes;
using pxl::access::Region;

/** The cost of windows of these sizes relative to one run: margins, a temporary image, a copy. */
template <class Algorithm>
struct Case {
  ImageSizes sizes;
  ImageSizes window;
  void (*setUp)(Algorithm& algorithm);
};

template <class Algorithm>
void runInWindows(Algorithm& algorithm, Case<Algorithm> const& one) {
  auto const count = [&one](pxl::Components i) { return static_cast<long>(one.sizes[i]); };
  auto const step = [&one](pxl::Components i) { return static_cast<long>(one.window[i]); };
  for (long plan = 0; plan < count(pxl::cPlans); plan += step(pxl::cPlans))
    for (long row = 0; row < count(pxl::cRows); row += step(pxl::cRows))
      for (long col = 0; col < count(pxl::cColumns); col += step(pxl::cColumns))
        algorithm.executeOnWindow(Region(row, row + step(pxl::cRows), col, col + step(pxl::cColumns), plan,
                                         plan + step(pxl::cPlans), 0, 1, 0, 1));
}

template <class Algorithm, class T>
void addRow(std::string const& name, Case<Algorithm> const& one) {
  addPair("Windows/" + name + "/whole", 2, [one] {
    ImagePointer const input = makeImage<T>(one.sizes), output = makeImage<T>(one.sizes);
    auto const algorithm = std::make_shared<Algorithm>();
    algorithm->inputImage = input.get();
    algorithm->outputImage = output.get();
    one.setUp(*algorithm);
    return Pair{[=] {
                  static_cast<void>(input);
                  runInWindows(*algorithm, one);
                },
                [=] {
                  static_cast<void>(output);
                  algorithm->execute();
                }};
  });
}

}  // namespace

void addWindows() {
  using pxl::filtering::linear::FiniteImpulseResponseFilter2D;
  using namespace pxl::morphology;
  ImageSizes const plane{4096, 4096, 1, 1, 1}, volume{256, 256, 256, 1, 1};
  addRow<Dilation2d, unsigned char>("square/uint8/4096x4096/1024x1024",
                                    {plane, {1024, 1024, 1, 1, 1}, [](Dilation2d&) {}});
  addRow<Dilation2d, unsigned char>("square/uint8/4096x4096/4096x512",
                                    {plane, {4096, 512, 1, 1, 1}, [](Dilation2d&) {}});
  addRow<DilationDisk2d, float>("disk_r10/float32/4096x4096/1024x1024",
                                {plane, {1024, 1024, 1, 1, 1}, [](DilationDisk2d& disk) {
                                   disk.radius = 10U;
                                   disk.shapeMode = 1;
                                 }});
  addRow<FiniteImpulseResponseFilter2D, float>(
      "fir_5x5/float32/4096x4096/1024x1024",
      {plane, {1024, 1024, 1, 1, 1}, [](FiniteImpulseResponseFilter2D& filter) {
         double const taps[25] = {1, 2, 3, 2, 1, 2, 4, 6, 4, 2, 3, 6, 9, 6, 3, 2, 4, 6, 4, 2, 1, 2, 3, 2, 1};
         filter.kernel = pxl::kernel::Kernel2D(taps, 5, 5);
       }});
  addRow<Dilation3d, unsigned char>("cube/uint8/256x256x256/256x256x32",
                                    {volume, {256, 256, 32, 1, 1}, [](Dilation3d&) {}});
  addRow<Dilation3d, unsigned char>(
      "cube_5_passes/uint8/256x256x256/256x256x32",
      {volume, {256, 256, 32, 1, 1}, [](Dilation3d& cube) { cube.numberOfIterations = 5U; }});
}

}  // namespace bench
