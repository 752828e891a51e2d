#include "pxl/access/Region.h"

namespace pxl::access {

Region::Region() : Region(0, 0, 0, 0, 0, 0, 0, 0, 0, 0) {}

Region::Region(long rowsBegin, long rowsEnd, long colsBegin, long colsEnd, long plansBegin, long plansEnd,
               long sequenceBegin, long sequenceEnd, long spectralSeriesBegin, long spectralSeriesEnd)
    : m_rows{rowsBegin, rowsEnd},
      m_cols{colsBegin, colsEnd},
      m_plans{plansBegin, plansEnd},
      m_sequence{sequenceBegin, sequenceEnd},
      m_spectralSeries{spectralSeriesBegin, spectralSeriesEnd} {}

Region::Region(Region const&) = default;
Region& Region::operator=(Region const&) = default;
Region::~Region() = default;

long Region::getNbRows() const { return m_rows.end - m_rows.begin; }
long Region::rowsBegin() const { return m_rows.begin; }
long Region::rowsEnd() const { return m_rows.end; }
long Region::getNbCols() const { return m_cols.end - m_cols.begin; }
long Region::colsBegin() const { return m_cols.begin; }
long Region::colsEnd() const { return m_cols.end; }
long Region::getNbPlans() const { return m_plans.end - m_plans.begin; }
long Region::plansBegin() const { return m_plans.begin; }
long Region::plansEnd() const { return m_plans.end; }
long Region::getNbSequencePlans() const { return m_sequence.end - m_sequence.begin; }
long Region::sequenceBegin() const { return m_sequence.begin; }
long Region::sequenceEnd() const { return m_sequence.end; }
long Region::getNbSpectralSeries() const { return m_spectralSeries.end - m_spectralSeries.begin; }
long Region::spectralSeriesBegin() const { return m_spectralSeries.begin; }
long Region::spectralSeriesEnd() const { return m_spectralSeries.end; }

unsigned long Region::getNumOfVoxels() const {
  auto const u = [](long n) { return static_cast<unsigned long>(n); };
  return u(getNbRows()) * u(getNbCols()) * u(getNbPlans()) * u(getNbSpectralSeries()) * u(getNbSequencePlans());
}

}  // namespace pxl::access
