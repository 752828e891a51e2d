#pragma once

#include <tbb/blocked_range.h>

#include "pxl/AlgoBorderInfluence.h"

namespace pxl::access {

/** A box of voxels in two or three dimensions. Intervals are half-open. */
class Block {
 public:
  virtual ~Block() = default;
  virtual long getNbRows() const = 0;
  virtual long rowsBegin() const = 0;
  virtual long rowsEnd() const = 0;
  virtual long getNbCols() const = 0;
  virtual long colsBegin() const = 0;
  virtual long colsEnd() const = 0;
  virtual long getNbPlans() const = 0;
  virtual long plansBegin() const = 0;
  virtual long plansEnd() const = 0;
  virtual long getNbSequencePlans() const = 0;
  virtual long sequenceBegin() const = 0;
  virtual long sequenceEnd() const = 0;
  virtual long getNbSpectralSeries() const = 0;
  virtual long spectralSeriesBegin() const = 0;
  virtual long spectralSeriesEnd() const = 0;

 protected:
  Block() = default;
  Block(Block const&) = default;
  Block& operator=(Block const&) = default;
};

/** One dimension of a block: an interval that is halved as long as it is larger than its grain. */
struct BlockInterval {
  long end = 0;
  long begin = 0;
  long grain = 1;

  long size() const { return end - begin; }
  bool isEmpty() const { return end <= begin; }
  bool isDivisible() const { return static_cast<unsigned long>(grain) < static_cast<unsigned long>(size()); }

  /** Whether this is larger than `other` in units of their grains. */
  bool isLongerThan(BlockInterval const& other) const {
    return asReal(size()) * asReal(other.grain) > asReal(other.size()) * asReal(grain);
  }

  /** Keeps the lower half and moves the upper half, the larger one of an odd size, to `upper`, a copy of this. */
  void halve(BlockInterval& upper) {
    long const middle = begin + static_cast<long>(static_cast<unsigned long>(size()) / 2);
    end = middle;
    upper.begin = middle;
  }

 private:
  static double asReal(long value) { return static_cast<double>(static_cast<unsigned long>(value)); }
};

/** Rows and columns of one plan: a range for TBB. */
class Block2d final : public Block {
 public:
  Block2d() = default;
  Block2d(long rowsBegin, long rowsEnd, long rowGrain, long colsBegin, long colsEnd, long colGrain, long planIndex,
          long sequenceIndex, long spectralSeriesIndex)
      : rows{rowsEnd, rowsBegin, rowGrain},
        cols{colsEnd, colsBegin, colGrain},
        plan(planIndex),
        sequence(sequenceIndex),
        spectralSeries(spectralSeriesIndex) {}
  Block2d(Block2d const&) = default;
  Block2d& operator=(Block2d const&) = default;
  /** Halves `source` along the dimension that is longest in grains, rows on a tie; this gets the upper half. */
  Block2d(Block2d& source, tbb::split) : Block2d(source) {
    if (cols.isLongerThan(rows))
      source.cols.halve(cols);
    else
      source.rows.halve(rows);
  }

  bool empty() const { return rows.isEmpty() || cols.isEmpty(); }
  bool is_divisible() const { return rows.isDivisible() || cols.isDivisible(); }
  long getNumOfVoxels() const { return getNbRows() * getNbCols(); }

  long getNbRows() const override { return rows.size(); }
  long rowsBegin() const override { return rows.begin; }
  long rowsEnd() const override { return rows.end; }
  long getNbCols() const override { return cols.size(); }
  long colsBegin() const override { return cols.begin; }
  long colsEnd() const override { return cols.end; }
  long getNbPlans() const override { return 1; }
  long plansBegin() const override { return plan; }
  long plansEnd() const override { return plan + 1; }
  long getNbSequencePlans() const override { return 1; }
  long sequenceBegin() const override { return sequence; }
  long sequenceEnd() const override { return sequence + 1; }
  long getNbSpectralSeries() const override { return 1; }
  long spectralSeriesBegin() const override { return spectralSeries; }
  long spectralSeriesEnd() const override { return spectralSeries + 1; }

  BlockInterval rows;
  BlockInterval cols;
  long plan = 0;
  long sequence = 0;
  long spectralSeries = 0;
};

/** Plans, rows and columns of one volume: a range for TBB. */
class Block3d final : public Block {
 public:
  Block3d() = default;
  Block3d(long plansBegin, long plansEnd, long planGrain, long rowsBegin, long rowsEnd, long rowGrain, long colsBegin,
          long colsEnd, long colGrain, long sequenceIndex, long spectralSeriesIndex)
      : plans{plansEnd, plansBegin, planGrain},
        rows{rowsEnd, rowsBegin, rowGrain},
        cols{colsEnd, colsBegin, colGrain},
        sequence(sequenceIndex),
        spectralSeries(spectralSeriesIndex) {}
  Block3d(Block3d const&) = default;
  Block3d& operator=(Block3d const&) = default;
  /** Halves `source` along the dimension that is longest in grains; a tie falls to the plans, then to the rows. */
  Block3d(Block3d& source, tbb::split) : Block3d(source) {
    if (rows.isLongerThan(plans)) {
      if (cols.isLongerThan(rows))
        source.cols.halve(cols);
      else
        source.rows.halve(rows);
    } else {
      if (cols.isLongerThan(plans))
        source.cols.halve(cols);
      else
        source.plans.halve(plans);
    }
  }

  bool empty() const { return plans.isEmpty() || rows.isEmpty() || cols.isEmpty(); }
  bool is_divisible() const { return plans.isDivisible() || rows.isDivisible() || cols.isDivisible(); }
  long getNumOfVoxels() const { return getNbRows() * getNbCols() * getNbPlans(); }

  long getNbRows() const override { return rows.size(); }
  long rowsBegin() const override { return rows.begin; }
  long rowsEnd() const override { return rows.end; }
  long getNbCols() const override { return cols.size(); }
  long colsBegin() const override { return cols.begin; }
  long colsEnd() const override { return cols.end; }
  long getNbPlans() const override { return plans.size(); }
  long plansBegin() const override { return plans.begin; }
  long plansEnd() const override { return plans.end; }
  long getNbSequencePlans() const override { return 1; }
  long sequenceBegin() const override { return sequence; }
  long sequenceEnd() const override { return sequence + 1; }
  long getNbSpectralSeries() const override { return 1; }
  long spectralSeriesBegin() const override { return spectralSeries; }
  long spectralSeriesEnd() const override { return spectralSeries + 1; }

  BlockInterval plans;
  BlockInterval rows;
  BlockInterval cols;
  long sequence = 0;
  long spectralSeries = 0;
};

/** The margins inside a block that may not be written while neighbouring blocks are being read. */
struct OverlapBorder {
  unsigned long rowsBegin = 0;
  unsigned long rowsEnd = 0;
  unsigned long colsBegin = 0;
  unsigned long colsEnd = 0;
  unsigned long plansBegin = 0;
  unsigned long plansEnd = 0;

  /** Nothing is held back. */
  OverlapBorder() = default;
  /**
   * Each side holds back what the neighbouring block on that side reads from this block: the high sides what is read
   * towards lower indices, the low sides what is read towards higher ones.
   */
  explicit OverlapBorder(AlgoBorderInfluence const& influence)
      : rowsBegin(influence.getNumOfVoxels(cRowsAfter)),
        rowsEnd(influence.getNumOfVoxels(cRowsBefore)),
        colsBegin(influence.getNumOfVoxels(cColumnsAfter)),
        colsEnd(influence.getNumOfVoxels(cColumnsBefore)),
        plansBegin(influence.getNumOfVoxels(cPlansAfter)),
        plansEnd(influence.getNumOfVoxels(cPlansBefore)) {}
};

}  // namespace pxl::access
