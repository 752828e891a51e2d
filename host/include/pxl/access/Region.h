#pragma once

#include "pxl/Export.h"

namespace pxl::access {

/** A five-dimensional box of voxels; intervals are half-open. A default region is empty. */
class PXL_API Region {
 public:
  Region();
  Region(long rowsBegin, long rowsEnd, long colsBegin, long colsEnd, long plansBegin, long plansEnd,
         long sequenceBegin, long sequenceEnd, long spectralSeriesBegin, long spectralSeriesEnd);
  Region(Region const&);
  Region& operator=(Region const&);
  virtual ~Region();

  virtual long getNbRows() const;
  virtual long rowsBegin() const;
  virtual long rowsEnd() const;
  virtual long getNbCols() const;
  virtual long colsBegin() const;
  virtual long colsEnd() const;
  virtual long getNbPlans() const;
  virtual long plansBegin() const;
  virtual long plansEnd() const;
  virtual long getNbSequencePlans() const;
  virtual long sequenceBegin() const;
  virtual long sequenceEnd() const;
  virtual long getNbSpectralSeries() const;
  virtual long spectralSeriesBegin() const;
  virtual long spectralSeriesEnd() const;

  /** The product of the five sizes modulo 2^64, computed from the virtual functions above. */
  unsigned long getNumOfVoxels() const;

 private:
  struct Interval {
    long begin;
    long end;
  };
  Interval m_rows;
  Interval m_cols;
  Interval m_plans;
  Interval m_sequence;
  Interval m_spectralSeries;
};

}  // namespace pxl::access
