#include "wide/ListPlans.h"

#include <algorithm>
#include <cstdlib>
#include <tuple>
#include <utility>

namespace pxl::wide {
namespace {

using Offsets = std::vector<kernel::Offset3D>;
using Kinds = FoldNode::Kinds;

// Short lists aren't worth any detour.
constexpr std::size_t cMinNbVoxels = 4;
// The search for pairs takes about n^2 steps.
constexpr std::size_t cMaxNbVoxelsOfPairs = 128;

bool leadsBeyond(kernel::Offset3D const& offset, PlanImage const& image) {
  return std::labs(offset.col) >= image.sizes[0] || std::labs(offset.row) >= image.sizes[1] ||
         std::labs(offset.plan) >= image.sizes[2];
}

ElementVoxels getVoxels(Offsets const& offsets, PlanImage const& image, bool isVolume) {
  ElementVoxels element{{}, isVolume, false, image.limits};
  for (kernel::Offset3D const& offset : offsets)
    if (leadsBeyond(offset, image))
      element.isBeyond = true;
    else
      element.voxels.push_back(offset);
  auto const key = [](kernel::Offset3D const& offset) {
    return std::make_tuple(offset.plan, offset.row, offset.col);
  };
  std::sort(element.voxels.begin(), element.voxels.end(),
            [&key](auto const& a, auto const& b) { return key(a) < key(b); });
  element.voxels.erase(std::unique(element.voxels.begin(), element.voxels.end()), element.voxels.end());
  return element;
}

// The list as it stands. A voxel that leads out of the image from wherever in it is the neutral value.
FoldProgram makeOrdered(Offsets const& offsets, PlanImage const& image) {
  FoldProgram program;
  int const copy = program.addCopy();
  std::vector<Tap> taps;
  for (kernel::Offset3D const& offset : offsets) {
    bool const isNeutral = leadsBeyond(offset, image);
    // Twice in a row is as good as once.
    if (isNeutral && !taps.empty() && taps.back().node == cNeutralNode) continue;
    taps.push_back(isNeutral ? Tap{cNeutralNode, 0, 0, 0} : Tap{copy, offset.col, offset.row, offset.plan});
  }
  program.add(std::move(taps));
  program.isOrdered = true;
  return program;
}

FoldProgram chooseProgram(ElementVoxels const& element) {
  std::vector<FoldProgram> programs;
  programs.push_back(makeRunsProgram(element, false));
  programs.push_back(makeRunsProgram(element, true));
  programs.push_back(makeNestedProgram(element));
  programs.push_back(makeBoxProgram(element));
  if (!element.isVolume) programs.push_back(makeColumnsProgram(element));
  if (element.voxels.size() <= cMaxNbVoxelsOfPairs) programs.push_back(makePairsProgram(element));
  double best = -1;
  FoldProgram* chosen = nullptr;
  for (FoldProgram& program : programs) {
    double const cost = program.getNbNodes() > 1 ? estimateCost(program) : -1;
    if (cost < 0 || (chosen && cost >= best)) continue;
    best = cost;
    chosen = &program;
  }
  return std::move(*chosen);
}

}  // namespace

double estimateCost(FoldProgram const& program) {
  double cost = 0;
  for (FoldNode const& node : program.getNodes()) {
    if (node.kind == Kinds::cRowsByBlocks) {
      cost += 0.9;
    } else if (node.kind == Kinds::cRowsAtOnce) {
      cost += 0.1 + 0.2 * static_cast<double>(node.length + 7) / 8;
    } else if (node.kind == Kinds::cColumnsAtOnce) {
      cost += 0.6;
    } else {
      cost += 0.1;
      for (Tap const& tap : node.taps) cost += tap.dx == 0 ? 0.155 : 0.28;
    }
  }
  return cost;
}

ElementPrograms makeListPrograms(PlanImage const& image, bool isVolume, Offsets offsets) {
  ElementVoxels const element = getVoxels(offsets, image, isVolume);
  ElementPrograms programs{isVolume, FoldProgram(), FoldProgram()};
  if (element.voxels.size() <= cMinNbVoxels) {
    programs.fast = makeOrdered(offsets, image);
    programs.fast.finish();
    return programs;
  }
  programs.fast = chooseProgram(element);
  if (element.isBeyond) programs.fast.addNeutralTap();
  programs.fast.finish();
  if (!image.isReal()) return programs;
  programs.ordered = makeOrdered(offsets, image);
  programs.ordered.finish();
  return programs;
}

}  // namespace pxl::wide
