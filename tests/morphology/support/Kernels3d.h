#pragma once

#include <vector>

#include "morphology/Passes3d.h"
#include "support/Kernels2d.h"

/** The kernels of volumes as a test holds them, without the plug-in. */
namespace morphology_test {

using pxl::access::Block3d;
using Offsets3d = std::vector<pxl::kernel::Offset3D>;

template <class Functor>
using Faces = pxl::morphology::FacesKernel<Functor>;
template <class Functor>
using Edges = pxl::morphology::EdgesKernel<Functor>;
template <class Functor>
using General3d = pxl::morphology::ListKernel3d<Functor>;
template <class Functor, class T>
using Cube = pxl::morphology::CubeKernel<Functor, T>;

/** The oracle's result of a list, `count` times. */
template <class T>
oracle::Image<T> applyListTimes(oracle::Image<T> image, Operation operation, Offsets3d const& offsets,
                                unsigned long count) {
  std::vector<std::array<long, 3>> list;
  for (auto const& offset : offsets) list.push_back({offset.col, offset.row, offset.plan});
  for (unsigned long i = 0; i < count; ++i) image = oracle::applyVolumeList(image, operation, list);
  return image;
}

/** The output of a kernel in the filter of volumes. */
template <class Functor, class T, class Kernel>
oracle::Image<T> runKernel3d(Way const& way, Kernel& kernel, oracle::Image<T> const& image) {
  return runKernel<Functor, pxl::Filter3dTag>(way, kernel, image);
}

/** Lists with an offset outside the plans before: in place, a block has not yet changed what it reads. */
inline std::vector<Offsets3d> makeVolumeLists() {
  std::vector<Offsets3d> lists{{{0, 0, 0}},
                               {{-1, -1, -1}, {1, 1, 1}, {2, 0, 0}},
                               {{2, 0, 0}, {5, 1, 1}, {3, 0, 1}},
                               {{-7, -3, 0}, {-4, -2, 0}},
                               {{0, 0, -2}, {0, 0, 2}},
                               {{1, 0, 1}, {1, 0, 1}, {-1, 1, 0}, {1, 0, 1}},
                               {{2, -6, 3}},
                               {{0, 0, 1}, {-1, 0, 0}, {0, 0, 0}, {0, -1, 0}, {0, 0, -1}}};
  oracle::Random random(311);
  for (int i = 0; i < 2; ++i) {
    Offsets3d list;
    for (long count = random.number(1, 9); count > 0; --count)
      list.push_back({random.number(-6, 6), random.number(-4, 4), random.number(-3, 3)});
    list.push_back({random.number(-6, 6), random.number(-4, 4), random.number(0, 3)});
    lists.push_back(list);
  }
  return lists;
}

/** The blocks between the cuts of each dimension, columns fastest. */
inline std::vector<Block3d> cutAt(std::vector<long> const& cols, std::vector<long> const& rows,
                                  std::vector<long> const& plans) {
  std::vector<Block3d> blocks;
  for (unsigned long p = 1; p < plans.size(); ++p)
    for (unsigned long r = 1; r < rows.size(); ++r)
      for (unsigned long c = 1; c < cols.size(); ++c)
        blocks.emplace_back(plans[p - 1], plans[p], 1, rows[r - 1], rows[r], 1, cols[c - 1], cols[c], 1, 0, 0);
  return blocks;
}

/** A volume in blocks of at most so many columns, rows and plans. */
inline std::vector<Block3d> cutVolume(Five const& sizes, std::array<long, 3> const& largest) {
  std::vector<long> cuts[3];
  for (unsigned long d = 0; d < 3; ++d) {
    for (long at = 0; at < sizes[d]; at += largest[d]) cuts[d].push_back(at);
    cuts[d].push_back(sizes[d]);
  }
  return cutAt(cuts[0], cuts[1], cuts[2]);
}

}  // namespace morphology_test
