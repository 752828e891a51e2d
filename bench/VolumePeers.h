#pragma once

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "IdealFir.h"
#include "Images.h"
#include "pxl/kernel/Offsets.h"

/** What other libraries do in volumes, each with one thread. Defined if the library was found. */
namespace bench {

/** Calls of these libraries take up to many seconds. */
constexpr int cNbSlowPairs = 3;

/** An element around the voxel itself, and how often it is applied. */
struct Element {
  std::vector<pxl::kernel::Offset3D> voxels;
  unsigned int nbPasses = 1;
  /** Whether it is a cube: libraries compute all of its passes as one of a larger cube. */
  bool isCube = false;

  /** The farthest offset in any dimension. */
  long getReach() const {
    long reach = 0;
    for (auto const& o : voxels) reach = std::max({reach, std::labs(o.col), std::labs(o.row), std::labs(o.plan)});
    return reach;
  }
};

/** Neighbours that differ in at most `maxSteps` coordinates: 1 for 6, 2 for 18 and 3 for 26 of them. */
inline Element makeNeighbours(int maxSteps, unsigned int nbPasses) {
  Element element{{}, nbPasses, maxSteps == 3};
  for (long plan = -1; plan <= 1; ++plan)
    for (long row = -1; row <= 1; ++row)
      for (long col = -1; col <= 1; ++col)
        if ((plan != 0) + (row != 0) + (col != 0) <= maxSteps) element.voxels.push_back({col, row, plan});
  return element;
}

// For unsigned char, unsigned short and float; CImg's for double, too.
template <class T>
Side makeCImgDilation(ImagePointer const& input, Element const& element);
template <class T>
Side makeItkDilation(ImagePointer const& input, Element const& element);

// For unsigned char and float. Voxels beyond the edge have the value of the nearest ones.
template <class T>
Side makeCImgCorrelation(ImagePointer const& input, Taps const& taps);
template <class T>
Side makeItkCorrelation(ImagePointer const& input, Taps const& taps);

}  // namespace bench
