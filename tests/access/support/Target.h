#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Core/private/Access/RowCache.h"
#include "instrument/Recorder.h"
#include "oracle/HostImages.h"
#include "oracle/Oracle.h"

namespace access_test {

/** An image of the host that is written to, a view on it, and what the image should hold by now. */
template <class T>
struct Target {
  using View = pxl::access::View<T>;
  using Row = pxl::access::OuputRow<View, typename View::Allocator>;
  using Border = std::shared_ptr<pxl::access::BorderCondition<T>>;

  explicit Target(oracle::Image<T> image, Border border = pxl::access::ContinueBorderCondition<T>::New())
      : expected(std::move(image)),
        host(oracle::toHost(expected)),
        view(View::New(static_cast<pxl::ImageModel*>(host.get()), std::move(border))) {}

  /** Compares all voxels, with a message that names the first wrong one. */
  void expectStored() const {
    auto const* voxel = static_cast<T const*>(host->getVoxels());
    bool isEqual = true;
    oracle::forEachPosition(expected.sizes, [&](oracle::Five const& p) {
      if (isEqual && *voxel != expected.at(p)) {
        isEqual = false;
        ADD_FAILURE() << "wrong voxel at column " << p[0] << ", row " << p[1] << ", plan " << p[2] << ", sequence "
                      << p[3] << ", spectral series " << p[4];
      }
      ++voxel;
    });
  }

  oracle::Image<T> expected;
  std::shared_ptr<pxl::Image> const host;
  std::shared_ptr<View> const view;
};

/** Moves a row and fills it with new voxels. */
template <class Row>
void placeRow(Row& row, oracle::Five const& at, long nbVoxels, oracle::Random& random) {
  using T = typename decltype(row.voxels)::value_type;
  row.col = at[0];
  row.row = at[1];
  row.plan = at[2];
  row.sequence = at[3];
  row.spectralSeries = at[4];
  row.voxels.resize(static_cast<unsigned long>(nbVoxels));
  for (T& voxel : row.voxels) voxel = random.voxel<T>();
}

/** A call of the host with its numbers: of a row the number of voxels and its five coordinates. */
using Call = std::pair<std::string, std::vector<long>>;
using Calls = std::vector<Call>;

inline Calls getCalls(pxl::instrument::Recorder const& probe) {
  Calls calls;
  for (auto const& event : probe.getTrace()) calls.emplace_back(event.name, event.values);
  return calls;
}

/** Whether a voxel is in the margin of its block or beyond it, computed from its distance to each side. */
inline bool isInMargin(oracle::Five const& p, pxl::access::Block const& block,
                       pxl::access::OverlapBorder const& overlap, oracle::Five const& sizes) {
  struct Side {
    long distance;
    unsigned long margin;
    bool isOnEdge;
  };
  Side const sides[] = {
      {p[0] - block.colsBegin(), overlap.colsBegin, block.colsBegin() == 0},
      {block.colsEnd() - 1 - p[0], overlap.colsEnd, block.colsEnd() == sizes[0]},
      {p[1] - block.rowsBegin(), overlap.rowsBegin, block.rowsBegin() == 0},
      {block.rowsEnd() - 1 - p[1], overlap.rowsEnd, block.rowsEnd() == sizes[1]},
      {p[2] - block.plansBegin(), overlap.plansBegin, block.plansBegin() == 0},
      {block.plansEnd() - 1 - p[2], overlap.plansEnd, block.plansEnd() == sizes[2]},
  };
  for (Side const& side : sides)
    if (!side.isOnEdge && side.distance < static_cast<long>(side.margin)) return true;
  return false;
}

}  // namespace access_test
