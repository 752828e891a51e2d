#pragma once

#include <cstddef>
#include <vector>

#include "wide/RowKernels.h"

/**
 * Structuring elements as programs of folds. A program is a list of nodes; each node's value at a voxel is the
 * largest (or the smallest, in an erosion) of values of earlier nodes at shifted voxels. Node 0 is the image, the
 * last node is the result. Beyond the image's edge node 0 has the neutral value, and so have the other nodes where
 * nothing but that reaches them.
 */
namespace pxl::wide {

/** A value of an earlier node, at a voxel relative to the one that is computed. */
struct Tap {
  int node;  ///< or cNeutralNode
  long dx;
  long dy;
  long dz;
};

/** Stands for the value beyond the edge, wherever it is read. */
constexpr int cNeutralNode = -1;

/** How far something reaches, in each direction. Never negative. */
struct Reach {
  long left = 0;
  long right = 0;
  long up = 0;
  long down = 0;
  long before = 0;
  long after = 0;
};

struct FoldNode {
  /** How the value is made. */
  enum class Kinds {
    cFold,           ///< of the taps in their order: (((a, b), c), d)
    cRowsAtOnce,     ///< of `length` rows from the tap on, each `step` columns further; several results at once
    cColumnsAtOnce,  ///< of `length` columns from the tap on
    cRowsByBlocks    ///< the same with step 0, by suffixes and prefixes of blocks: three operations for any length
  };

  Kinds kind = Kinds::cFold;
  std::vector<Tap> taps;  ///< of windows of rows: the first one
  long length = 1;
  long step = 0;           ///< columns; 1 in windows of columns
  bool isClipped = false;  ///< a pass of its own: neutral beyond the image, whatever its taps find there
  Reach needed;            ///< around a tile, of this node's values, for those of the result
  Reach beyond;            ///< how far beyond the image the values aren't neutral
};

class FoldProgram {
 public:
  /** With node 0. */
  explicit FoldProgram(WindowLimits const& limits = {}) : m_nodes(1), m_limits(limits) {}

  /**
   * Adds a node and returns its index. The image has no margins in memory: taps of node 0 with a dx cost more at the
   * ends of rows, and windows of columns can't have node 0.
   */
  int add(std::vector<Tap> taps, bool isClipped = false);
  /** A copy of the image with margins. */
  int addCopy() { return add({{0, 0, 0, 0}}); }
  /** A window of `length` rows of `node`, the first of which is at dy, each `step` columns right of the one above. */
  int addRows(FoldNode::Kinds kind, int node, long length, long dy, long step);
  /** A window of `length` columns of `node`, up to getLimits().nbColumns. */
  int addColumns(int node, long length);
  /** Has the value beyond the edge take part in the result. */
  void addNeutralTap();
  /** Moves what a node reads. */
  void shift(int node, long dx, long dy, long dz = 0);
  /** To be called once after the last node: what each node needs and how far it reaches. */
  void finish();

  std::vector<FoldNode> const& getNodes() const { return m_nodes; }
  WindowLimits const& getLimits() const { return m_limits; }
  std::size_t getNbNodes() const { return m_nodes.size(); }
  FoldNode const& getNode(int node) const { return m_nodes[static_cast<std::size_t>(node)]; }
  /** What is read around a tile. */
  Reach const& getImageReach() const { return m_nodes.front().needed; }

  /** Whether reals get the bits of the other runner whatever they are: its folds in its order. */
  bool isOrdered = false;

 private:
  std::vector<FoldNode> m_nodes;
  WindowLimits m_limits;
};

/** Calls visit(tap) for what bounds the reach of a node: the taps, or the first and the last one of a window. */
template <class Visit>
void visitExtremeTaps(FoldNode const& node, Visit const& visit) {
  for (Tap const& tap : node.taps)
    if (tap.node != cNeutralNode) visit(tap);
  if (node.kind == FoldNode::Kinds::cFold) return;
  Tap last = node.taps.front();
  last.dx += (node.length - 1) * node.step;
  if (node.kind != FoldNode::Kinds::cColumnsAtOnce) last.dy += node.length - 1;
  visit(last);
}

}  // namespace pxl::wide
