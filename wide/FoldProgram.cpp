#include "wide/FoldProgram.h"

#include <algorithm>
#include <utility>

namespace pxl::wide {
namespace {

void grow(long& reach, long to) { reach = std::max(reach, to); }

}  // namespace

int FoldProgram::add(std::vector<Tap> taps, bool isClipped) {
  FoldNode node;
  node.taps = std::move(taps);
  node.isClipped = isClipped;
  m_nodes.push_back(std::move(node));
  return static_cast<int>(m_nodes.size()) - 1;
}

int FoldProgram::addRows(FoldNode::Kinds kind, int node, long length, long dy, long step) {
  int const added = add({{node, 0, dy, 0}});
  m_nodes.back().kind = kind;
  m_nodes.back().length = length;
  m_nodes.back().step = step;
  return added;
}

int FoldProgram::addColumns(int node, long length) {
  return addRows(FoldNode::Kinds::cColumnsAtOnce, node, length, 0, 1);
}

void FoldProgram::addNeutralTap() {
  if (m_nodes.back().kind != FoldNode::Kinds::cFold) add({{static_cast<int>(m_nodes.size()) - 1, 0, 0, 0}});
  m_nodes.back().taps.push_back({cNeutralNode, 0, 0, 0});
}

void FoldProgram::shift(int node, long dx, long dy, long dz) {
  for (Tap& tap : m_nodes[static_cast<std::size_t>(node)].taps) {
    tap.dx += dx;
    tap.dy += dy;
    tap.dz += dz;
  }
}

void FoldProgram::finish() {
  for (FoldNode& node : m_nodes) {
    if (node.isClipped) continue;
    visitExtremeTaps(node, [this, &node](Tap const& tap) {
      Reach const& of = getNode(tap.node).beyond;
      grow(node.beyond.left, of.left + tap.dx);
      grow(node.beyond.right, of.right - tap.dx);
      grow(node.beyond.up, of.up + tap.dy);
      grow(node.beyond.down, of.down - tap.dy);
      grow(node.beyond.before, of.before + tap.dz);
      grow(node.beyond.after, of.after - tap.dz);
    });
  }
  for (std::size_t i = m_nodes.size(); i-- > 1;) {
    FoldNode const& node = m_nodes[i];
    visitExtremeTaps(node, [this, &node](Tap const& tap) {
      Reach& of = m_nodes[static_cast<std::size_t>(tap.node)].needed;
      grow(of.left, node.needed.left - tap.dx);
      grow(of.right, node.needed.right + tap.dx);
      grow(of.up, node.needed.up - tap.dy);
      grow(of.down, node.needed.down + tap.dy);
      grow(of.before, node.needed.before - tap.dz);
      grow(of.after, node.needed.after + tap.dz);
    });
  }
}

}  // namespace pxl::wide
