#include "pxl/AlgoBorderInfluence.h"

namespace pxl {

AlgoBorderInfluence::AlgoBorderInfluence(unsigned long columns, unsigned long rows, unsigned long plans,
                                         unsigned long sequence, unsigned long spectralSeries)
    : AlgoBorderInfluence(columns, columns, rows, rows, plans, plans, sequence, sequence, spectralSeries,
                          spectralSeries) {}

AlgoBorderInfluence::AlgoBorderInfluence(unsigned long columnsBefore, unsigned long columnsAfter,
                                         unsigned long rowsBefore, unsigned long rowsAfter, unsigned long plansBefore,
                                         unsigned long plansAfter, unsigned long sequenceBefore,
                                         unsigned long sequenceAfter, unsigned long spectralBefore,
                                         unsigned long spectralAfter)
    : m_extents{columnsBefore, columnsAfter,   rowsBefore,    rowsAfter,      plansBefore,
                plansAfter,    sequenceBefore, sequenceAfter, spectralBefore, spectralAfter} {}

unsigned long AlgoBorderInfluence::getNumOfVoxels(DirectionTypes direction) const { return m_extents[direction]; }

}  // namespace pxl
