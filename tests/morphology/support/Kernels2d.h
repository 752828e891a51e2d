#pragma once

#include <memory>
#include <vector>

#include "morphology/Passes2d.h"
#include "morphology/RunOnOffsets.h"
#include "support/Runs.h"

/** The kernels of plans as a test holds them, without the plug-in. */
namespace morphology_test {

using pxl::access::Block2d;
using Arch = pxl::SimdVec::arch_128_tag;
using Grains = pxl::AbstractPartitionerPolicy::PartitionerGrainSizes;
using Offsets = std::vector<pxl::kernel::Offset2D>;
using pxl::morphology::details::DilationFunctor;
using pxl::morphology::details::ErosionFunctor;

template <class Functor>
using Cross = pxl::morphology::CrossKernel<Functor>;
template <class Functor>
using General = pxl::morphology::ListKernel2d<Functor>;
template <class Functor, class T>
using Square = pxl::morphology::SquareKernel<Functor, T>;

template <class Functor>
constexpr Operation cOperationOf =
    std::is_same_v<Functor, DilationFunctor> ? Operation::cDilation : Operation::cErosion;

/** The oracle's result of a list, `count` times. */
template <class T>
oracle::Image<T> applyListTimes(oracle::Image<T> image, Operation operation, Offsets const& offsets,
                                unsigned long count) {
  std::vector<std::array<long, 2>> list;
  for (auto const& offset : offsets) list.push_back({offset.col, offset.row});
  for (unsigned long i = 0; i < count; ++i) image = oracle::applyList(image, operation, list);
  return image;
}

/** The output of a kernel in the filter; what the way says of a neighbourhood doesn't count. */
template <class Functor, class Tag = pxl::Filter2dTag, class T, class Kernel>
oracle::Image<T> runKernel(Way const& way, Kernel& kernel, oracle::Image<T> const& image) {
  auto const input = oracle::toHost(image);
  auto const output = way.isInPlace ? input : oracle::toHost(oracle::Image<T>(image.sizes));
  auto const algorithm = makeAlgorithm(way, input.get(), output.get());
  pxl::morphology::runRecursive<Tag, Arch, Functor, T>(algorithm.get(), kernel, way.nbIterations);
  return toOracle<T>(*output, image.sizes);
}

/** Lists whose lowest row isn't above the row before: in place, a block has not yet changed what it reads. */
inline std::vector<Offsets> makeLists() {
  std::vector<Offsets> lists{{{0, 0}},
                             {{-1, -1}, {1, 1}, {2, 0}},
                             {{2, 0}, {5, 1}, {3, 0}},
                             {{-7, -1}, {-4, -1}},
                             {{0, -2}, {0, 2}},
                             {{1, 0}, {1, 0}, {-1, 1}, {1, 0}, {-1, 1}},
                             {{-3, 1}, {4, 1}, {0, 1}},
                             {{2, 6}},
                             {{0, 1}, {-1, 0}, {0, 0}, {1, 0}, {0, -1}}};
  oracle::Random random(251);
  for (int i = 0; i < 3; ++i) {
    Offsets list;
    for (long count = random.number(1, 9); count > 0; --count)
      list.push_back({random.number(-6, 6), random.number(-4, 4)});
    list.push_back({random.number(-6, 6), random.number(-1, 4)});
    lists.push_back(list);
  }
  return lists;
}

/** A pass between two views, or in place, that a test runs block by block. */
template <class T>
struct HandRun {
  using View = pxl::access::View<T>;
  using Context = pxl::RecursiveImageContext<T, T, Arch, pxl::OutputToOutput>;

  HandRun(oracle::Image<T> const& image, bool isInPlace, T beyond)
      : sizes(image.sizes),
        input(oracle::toHost(image)),
        output(isInPlace ? input : oracle::toHost(oracle::Image<T>(sizes))),
        context(View::New(static_cast<pxl::ImageModel const*>(input.get()),
                          pxl::access::FixedBorderCondition<T>::New(beyond)),
                View::New(output.get(), pxl::access::FixedBorderCondition<T>::New(beyond))) {}

  oracle::Image<T> getOutput() const { return toOracle<T>(*output, sizes); }

  Five sizes;
  std::shared_ptr<pxl::Image> input, output;
  Context context;
};

/** A plan in blocks of at most `nbCols` x `nbRows`, row by row. */
inline std::vector<Block2d> cutPlan(Five const& sizes, long nbCols, long nbRows, long plan = 0) {
  std::vector<Block2d> blocks;
  for (long row = 0; row < sizes[1]; row += nbRows)
    for (long col = 0; col < sizes[0]; col += nbCols)
      blocks.emplace_back(row, std::min(row + nbRows, sizes[1]), 1, col, std::min(col + nbCols, sizes[0]), 1, plan, 0,
                          0);
  return blocks;
}

}  // namespace morphology_test
