#pragma once

#include "pxl/Export.h"

namespace pxl {

/** The directions in which a neighbourhood reaches. */
enum DirectionTypes : int {
  cColumnsBefore = 0,
  cColumnsAfter = 1,
  cRowsBefore = 2,
  cRowsAfter = 3,
  cPlansBefore = 4,
  cPlansAfter = 5
};

/** How many voxels an operator's neighbourhood reaches in each direction. */
class PXL_API AlgoBorderInfluence {
 public:
  /** Extents that hold for both directions of each dimension. */
  AlgoBorderInfluence(unsigned long columns, unsigned long rows, unsigned long plans, unsigned long sequence,
                      unsigned long spectralSeries);
  /** Extents before and after, in the order of DirectionTypes, then of the sequence and the spectral series. */
  AlgoBorderInfluence(unsigned long columnsBefore, unsigned long columnsAfter, unsigned long rowsBefore,
                      unsigned long rowsAfter, unsigned long plansBefore, unsigned long plansAfter,
                      unsigned long sequenceBefore, unsigned long sequenceAfter, unsigned long spectralBefore,
                      unsigned long spectralAfter);

  unsigned long getNumOfVoxels(DirectionTypes direction) const;

 private:
  unsigned long m_extents[10];
};

}  // namespace pxl
