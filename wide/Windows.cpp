#include "wide/Windows.h"

#include <algorithm>
#include <vector>

namespace pxl::wide {
namespace {

using Kinds = FoldNode::Kinds;
constexpr long cMinRowsAtOnce = 5;
constexpr long cMaxRowsAtOnce = 24;
constexpr long cMaxRadix = 8;
// Shorter ones are a fold of shifted rows.
constexpr long cMinColumnsAtOnce = 4;

// Measured: nanoseconds of a fold of `radix` rows for 32 bytes. Half of the loads of shifted rows straddle two lines.
double getCost(long radix, bool isShifted) {
  auto const r = static_cast<double>(radix);
  return isShifted ? 0.41 + 0.28 * (r - 2) : 0.03 + 0.155 * r;
}

// The cheapest factors with a product of at least `length`.
double findRadices(long length, bool isShifted, std::vector<long>& radices) {
  radices.clear();
  if (length <= 1) return 0;
  double best = 1e9;
  std::vector<long> others;
  for (long radix = 2; radix <= std::min(cMaxRadix, length); ++radix) {
    double const cost = getCost(radix, isShifted) + findRadices((length + radix - 1) / radix, isShifted, others);
    if (cost >= best) continue;
    best = cost;
    radices = others;
    radices.push_back(radix);
  }
  return best;
}

}  // namespace

int addWindow(FoldProgram& program, int node, long length, Direction u, Dimensions dimensions, long known) {
  if (length <= known) return node;
  bool const isSlanted = dimensions == Dimensions::cPlane && u.dy == 1 && known == 1;
  if (isSlanted && length >= cMinRowsAtOnce && length <= cMaxRowsAtOnce)
    return program.addRows(Kinds::cRowsAtOnce, node, length, 0, u.dx);
  if (isSlanted && length > cMaxRowsAtOnce) {
    long part = (length + 2) / 3;
    if (part > cMaxRowsAtOnce) part = std::min(cMaxRowsAtOnce, (length + 4) / 5);
    return addWindow(program, program.addRows(Kinds::cRowsAtOnce, node, part, 0, u.dx), length, u, dimensions, part);
  }
  bool const isAlongRows = u.dx == 1 && u.dy == 0 && u.dz == 0;
  long const atOnce = std::min(length, program.getLimits().nbColumns);
  if (isAlongRows && known == 1 && atOnce >= cMinColumnsAtOnce)
    return addWindow(program, program.addColumns(node, atOnce), length, u, dimensions, atOnce);
  std::vector<long> radices;
  findRadices((length + known - 1) / known, u.dx != 0, radices);
  long reached = known;
  for (std::size_t i = 0; i < radices.size(); ++i) {
    long const radix = radices[i], last = radix - 1;
    long const to = i + 1 == radices.size() ? length : std::min(length, reached * radix);
    std::vector<Tap> taps;
    for (long j = 0; j < radix; ++j) {
      long const offset = (j * (to - reached) + last / 2) / last;
      if (j > 0 && offset * u.dx == taps.back().dx && offset * u.dy == taps.back().dy &&
          offset * u.dz == taps.back().dz)
        continue;
      taps.push_back({node, offset * u.dx, offset * u.dy, offset * u.dz});
    }
    node = program.add(std::move(taps));
    reached = to;
  }
  return node;
}

int addImageRows(FoldProgram& program, long length, long dy) {
  if (length > program.getLimits().nbImageRows) return program.addRows(Kinds::cRowsByBlocks, 0, length, dy, 0);
  if (length >= cMinRowsAtOnce) return program.addRows(Kinds::cRowsAtOnce, 0, length, dy, 0);
  if (length == 1 && dy == 0) return 0;
  std::vector<Tap> taps;
  for (long i = 0; i < length; ++i) taps.push_back({0, 0, dy + i, 0});
  return program.add(std::move(taps));
}

}  // namespace pxl::wide
