#pragma once

namespace pxl::kernel {

/**
 * How far neighbours reach on each side of a voxel, in voxels: before it (towards lower indices) and after it
 * (towards higher ones).
 */
struct Margins {
  unsigned long colsBefore = 0;
  unsigned long colsAfter = 0;
  unsigned long rowsBefore = 0;
  unsigned long rowsAfter = 0;
  unsigned long plansBefore = 0;
  unsigned long plansAfter = 0;
};

/** The margins of two operators, one after the other. */
constexpr Margins operator+(Margins const& a, Margins const& b) {
  return {a.colsBefore + b.colsBefore, a.colsAfter + b.colsAfter,     a.rowsBefore + b.rowsBefore,
          a.rowsAfter + b.rowsAfter,   a.plansBefore + b.plansBefore, a.plansAfter + b.plansAfter};
}

constexpr bool operator==(Margins const& a, Margins const& b) {
  return a.colsBefore == b.colsBefore && a.colsAfter == b.colsAfter && a.rowsBefore == b.rowsBefore &&
         a.rowsAfter == b.rowsAfter && a.plansBefore == b.plansBefore && a.plansAfter == b.plansAfter;
}

constexpr bool operator!=(Margins const& a, Margins const& b) { return !(a == b); }

}  // namespace pxl::kernel
