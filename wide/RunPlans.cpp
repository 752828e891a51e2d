#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "wide/ListPlans.h"
#include "wide/Windows.h"

namespace pxl::wide {
namespace {

// Voxels of a list that follow each other in a row.
struct Run {
  long row;
  long plan;
  long first;
  long last;

  long getLength() const { return last - first + 1; }
};

std::vector<Run> findRuns(std::vector<kernel::Offset3D> const& voxels) {
  std::vector<Run> runs;
  for (kernel::Offset3D const& voxel : voxels) {
    bool const isNext = !runs.empty() && runs.back().row == voxel.row && runs.back().plan == voxel.plan &&
                        runs.back().last + 1 == voxel.col;
    if (isNext)
      ++runs.back().last;
    else
      runs.push_back({voxel.row, voxel.plan, voxel.col, voxel.col});
  }
  return runs;
}

long floorPower(long length) {
  long power = 1;
  while (2 * power <= length) power *= 2;
  return power;
}

// Windows of powers of two along a direction, made one of the other.
class PowerWindows {
 public:
  PowerWindows(FoldProgram& program, int node, std::vector<Run> const& runs, Direction direction)
      : m_windows{{1, node}} {
    std::set<long> lengths;
    for (Run const& run : runs) lengths.insert(floorPower(run.getLength()));
    long reached = 1;
    for (long length : lengths)
      while (reached < length) {
        long const radix = reached * 4 <= length && lengths.count(reached * 2) == 0 ? 4 : 2;
        std::vector<Tap> taps;
        for (long i = 0; i < radix; ++i)
          taps.push_back({m_windows[reached], i * reached * direction.dx, i * reached * direction.dy, 0});
        m_windows[reached * radix] = program.add(std::move(taps));
        reached *= radix;
      }
  }

  /** The taps of a run at (dx, dy, dz) from its first voxel: one window, or two that overlap. */
  void addTaps(std::vector<Tap>& taps, Tap at, long length, Direction direction) {
    long const power = floorPower(length);
    at.node = m_windows[power];
    taps.push_back(at);
    if (power == length) return;
    at.dx += (length - power) * direction.dx;
    at.dy += (length - power) * direction.dy;
    taps.push_back(at);
  }

 private:
  std::map<long, int> m_windows;
};

}  // namespace

FoldProgram makeRunsProgram(ElementVoxels const& element, bool isEachRunMade) {
  constexpr Direction cAlong{1, 0, 0};
  FoldProgram program;
  std::vector<Run> const runs = findRuns(element.voxels);
  PowerWindows windows(program, program.addCopy(), runs, cAlong);
  std::map<std::pair<long, long>, int> made;
  std::vector<Tap> taps;
  for (Run const& run : runs) {
    if (!isEachRunMade) {
      windows.addTaps(taps, {0, run.first, run.row, run.plan}, run.getLength(), cAlong);
      continue;
    }
    auto const [at, isNew] = made.try_emplace({run.first, run.last}, 0);
    if (isNew) {
      std::vector<Tap> ofRun;
      windows.addTaps(ofRun, {0, run.first, 0, 0}, run.getLength(), cAlong);
      at->second = program.add(std::move(ofRun));
    }
    taps.push_back({at->second, 0, run.row, run.plan});
  }
  program.add(std::move(taps));
  return program;
}

FoldProgram makeNestedProgram(ElementVoxels const& element) {
  FoldProgram program(element.limits);
  std::map<long, std::vector<Run>> byReach;
  for (Run const& run : findRuns(element.voxels)) {
    if (run.first != -run.last) return program;
    byReach[run.last].push_back(run);
  }
  Dimensions const dimensions = element.isVolume ? Dimensions::cVolume : Dimensions::cPlane;
  // Many rows at once straight from memory compete for cache lines.
  int const image = element.isVolume ? 0 : program.addCopy();
  int widest = -1;
  long reach = 0;
  for (auto level = byReach.rbegin(); level != byReach.rend(); ++level) {
    std::vector<Tap> taps;
    for (Run const& run : level->second) taps.push_back({image, 0, run.row, run.plan});
    int node = program.add(std::move(taps));
    if (widest >= 0) {
      long const step = reach - level->first;
      int const wider = step > 1 ? addWindow(program, widest, 2 * step + 1, {1, 0, 0}, dimensions) : widest;
      if (step > 1)
        node = program.add({{wider, -step, 0, 0}, {node, 0, 0, 0}});
      else
        node = program.add({{widest, -1, 0, 0}, {widest, 0, 0, 0}, {widest, 1, 0, 0}, {node, 0, 0, 0}});
    }
    widest = node;
    reach = level->first;
  }
  if (reach > 0) program.shift(addWindow(program, widest, 2 * reach + 1, {1, 0, 0}, dimensions), -reach, 0);
  return program;
}

FoldProgram makeColumnsProgram(ElementVoxels const& element) {
  constexpr Direction cDown{0, 1, 0};
  // Runs of the list with rows and columns exchanged.
  std::vector<kernel::Offset3D> turned;
  for (kernel::Offset3D const& voxel : element.voxels) turned.push_back({voxel.row, voxel.col, 0});
  std::sort(turned.begin(), turned.end(),
            [](auto const& a, auto const& b) { return a.row != b.row ? a.row < b.row : a.col < b.col; });
  std::vector<Run> const columns = findRuns(turned);
  FoldProgram program;
  PowerWindows windows(program, program.addCopy(), columns, cDown);
  std::map<std::pair<long, long>, int> made;
  std::vector<Tap> taps;
  for (Run const& column : columns) {
    auto const [at, isNew] = made.try_emplace({column.first, column.last}, 0);
    if (isNew) {
      std::vector<Tap> ofColumn;
      windows.addTaps(ofColumn, {0, 0, column.first, 0}, column.getLength(), cDown);
      at->second = program.add(std::move(ofColumn));
    }
    taps.push_back({at->second, column.row, 0, 0});
  }
  program.add(std::move(taps));
  return program;
}

FoldProgram makeBoxProgram(ElementVoxels const& element) {
  kernel::Offset3D const first = element.voxels.front(), last = element.voxels.back();
  FoldProgram program(element.limits);
  long const nbCols = last.col - first.col + 1, nbRows = last.row - first.row + 1;
  long const nbPlans = last.plan - first.plan + 1;
  auto const isWithin = [&](kernel::Offset3D const& voxel) {
    return voxel.col >= first.col && voxel.col <= last.col && voxel.row >= first.row && voxel.row <= last.row;
  };
  if (nbCols < 1 || nbRows < 1 || static_cast<long>(element.voxels.size()) != nbCols * nbRows * nbPlans ||
      !std::all_of(element.voxels.begin(), element.voxels.end(), isWithin))
    return program;
  int node = 0;
  if (element.isVolume) {
    node = addWindow(program, 0, nbPlans, {0, 0, 1}, Dimensions::cVolume);
    node = addWindow(program, node, nbRows, {0, 1, 0}, Dimensions::cVolume);
  } else {
    node = addImageRows(program, nbRows, 0);
  }
  // The image has no margins to be read along a row.
  if (node == 0) node = program.addCopy();
  node = addWindow(program, node, nbCols, {1, 0, 0}, element.isVolume ? Dimensions::cVolume : Dimensions::cPlane);
  // All windows begin at the voxel: the last one moves them.
  if (nbCols > 1 || first.col == 0)
    program.shift(node, first.col, first.row, first.plan);
  else
    program.add({{node, first.col, first.row, first.plan}});
  return program;
}

}  // namespace pxl::wide
