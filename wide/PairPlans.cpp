#include <algorithm>
#include <cmath>
#include <utility>

#include "wide/ListPlans.h"

namespace pxl::wide {
namespace {

using Voxels = std::vector<kernel::Offset3D>;

constexpr std::size_t cMinNbVoxels = 4;
constexpr std::size_t cMaxNbTrials = 64;

// The voxels of a set by their places, found in one step.
class VoxelMap {
 public:
  explicit VoxelMap(Voxels const& voxels) : m_first(voxels.front()), m_last(voxels.front()) {
    for (kernel::Offset3D const& voxel : voxels) {
      m_first = {std::min(m_first.col, voxel.col), std::min(m_first.row, voxel.row),
                 std::min(m_first.plan, voxel.plan)};
      m_last = {std::max(m_last.col, voxel.col), std::max(m_last.row, voxel.row), std::max(m_last.plan, voxel.plan)};
    }
    m_nbCols = m_last.col - m_first.col + 1;
    m_nbRows = m_last.row - m_first.row + 1;
    m_indices.assign(static_cast<std::size_t>(m_nbCols * m_nbRows * (m_last.plan - m_first.plan + 1)), -1);
    for (std::size_t i = 0; i < voxels.size(); ++i) m_indices[placeOf(voxels[i])] = static_cast<int>(i);
  }

  /** Bytes of the map of a set. */
  static double countPlaces(Voxels const& voxels) {
    double product = 1;
    long kernel::Offset3D::*const members[] = {&kernel::Offset3D::col, &kernel::Offset3D::row,
                                               &kernel::Offset3D::plan};
    for (auto const member : members) {
      auto const [low, high] = std::minmax_element(
          voxels.begin(), voxels.end(), [member](auto const& a, auto const& b) { return a.*member < b.*member; });
      product *= static_cast<double>(*high.*member - *low.*member + 1);
    }
    return product;
  }

  /** The index of a voxel, or -1. */
  int find(kernel::Offset3D const& voxel) const {
    if (voxel.col < m_first.col || voxel.col > m_last.col || voxel.row < m_first.row || voxel.row > m_last.row ||
        voxel.plan < m_first.plan || voxel.plan > m_last.plan)
      return -1;
    return m_indices[placeOf(voxel)];
  }

 private:
  std::size_t placeOf(kernel::Offset3D const& voxel) const {
    return static_cast<std::size_t>(((voxel.plan - m_first.plan) * m_nbRows + voxel.row - m_first.row) * m_nbCols +
                                    voxel.col - m_first.col);
  }

  kernel::Offset3D m_first;
  kernel::Offset3D m_last;
  long m_nbCols;
  long m_nbRows;
  std::vector<int> m_indices;
};

// A set as a part, the same part moved, and the rest.
struct Split {
  double cost = 1e9;
  kernel::Offset3D move{};
  Voxels part;
  Voxels rest;
};

Split splitBy(Voxels const& voxels, VoxelMap const& map, kernel::Offset3D const& move) {
  std::vector<char> isCovered(voxels.size());
  Split split;
  split.move = move;
  std::size_t nbCovered = 0;
  for (std::size_t i = 0; i < voxels.size(); ++i) {
    int const moved = map.find({voxels[i].col + move.col, voxels[i].row + move.row, voxels[i].plan + move.plan});
    if (moved < 0) continue;
    auto const to = static_cast<std::size_t>(moved);
    if (isCovered[i] && isCovered[to]) continue;
    nbCovered += static_cast<std::size_t>(!isCovered[i]) + static_cast<std::size_t>(!isCovered[to]);
    isCovered[i] = isCovered[to] = 1;
    split.part.push_back(voxels[i]);
  }
  for (std::size_t i = 0; i < voxels.size(); ++i)
    if (!isCovered[i]) split.rest.push_back(voxels[i]);
  split.cost =
      3.2 * std::log2(static_cast<double>(split.part.size()) + 1) + static_cast<double>(voxels.size() - nbCovered);
  return split;
}

// The cheapest split by the distance of a voxel from one of the first ones.
Split findSplit(Voxels const& voxels) {
  VoxelMap const map(voxels);
  Split best;
  std::size_t const stride = (voxels.size() + cMaxNbTrials - 1) / cMaxNbTrials;
  for (std::size_t from = 0; from < 2; ++from)
    for (std::size_t i = from + 1; i < voxels.size(); i += stride) {
      kernel::Offset3D const a = voxels[from], b = voxels[i];
      Split split = splitBy(voxels, map, {b.col - a.col, b.row - a.row, b.plan - a.plan});
      if (split.cost < best.cost) best = std::move(split);
    }
  return best;
}

int addSet(FoldProgram& program, int copy, Voxels const& voxels) {
  std::vector<Tap> taps;
  auto const addAll = [&taps, copy](Voxels const& list) {
    for (kernel::Offset3D const& voxel : list) taps.push_back({copy, voxel.col, voxel.row, voxel.plan});
  };
  Split split;
  if (voxels.size() > cMinNbVoxels) split = findSplit(voxels);
  if (split.cost + 3 > static_cast<double>(voxels.size())) {
    addAll(voxels);
    return program.add(std::move(taps));
  }
  int const part = addSet(program, copy, split.part);
  taps.push_back({part, 0, 0, 0});
  taps.push_back({part, split.move.col, split.move.row, split.move.plan});
  addAll(split.rest);
  return program.add(std::move(taps));
}

}  // namespace

FoldProgram makePairsProgram(ElementVoxels const& element) {
  constexpr double cMaxNbPlaces = 1 << 20;
  FoldProgram program;
  if (VoxelMap::countPlaces(element.voxels) <= cMaxNbPlaces) addSet(program, program.addCopy(), element.voxels);
  return program;
}

}  // namespace pxl::wide
