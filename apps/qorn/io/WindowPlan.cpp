#include "qorn/io/WindowPlan.h"

#include <algorithm>

namespace qorn::io {
namespace {

/** A size with its margins, clamped to the image. */
unsigned long addMargins(unsigned long size, unsigned long before, unsigned long after, unsigned long imageSize) {
  return std::min(imageSize, size + before + after);
}

unsigned long countParts(unsigned long size, unsigned long part) { return (size - 1) / part + 1; }

/** An interval with its margins, clamped to the image. */
struct Interval {
  Interval(long begin, long end, unsigned long before, unsigned long after, unsigned long imageSize)
      : first(begin - static_cast<long>(std::min(before, static_cast<unsigned long>(begin)))),
        last(end + static_cast<long>(std::min(after, imageSize - static_cast<unsigned long>(end)))) {}
  long first;
  long last;
};

}  // namespace

WindowPlan::WindowPlan(WindowDemand const& demand)
    : m_demand(demand),
      m_nbPlans(static_cast<unsigned long>(demand.region.getNbPlans())),
      m_nbRows(static_cast<unsigned long>(demand.region.getNbRows())) {
  choose();
}

/** The voxels of the largest window with its margins; windows at the edge of the image are smaller. */
unsigned long WindowPlan::countVoxels(unsigned long plans, unsigned long rows) const {
  pxl::kernel::Margins const& m = m_demand.margins;
  Interval const cols(m_demand.region.colsBegin(), m_demand.region.colsEnd(), m.colsBefore, m.colsAfter,
                      m_demand.sizes[pxl::cColumns]);
  return static_cast<unsigned long>(cols.last - cols.first) *
         addMargins(rows, m.rowsBefore, m.rowsAfter, m_demand.sizes[pxl::cRows]) *
         addMargins(plans, m.plansBefore, m.plansAfter, m_demand.sizes[pxl::cPlans]);
}

/** The rows of a window of this many plans that fit; 0 if not even one does. */
unsigned long WindowPlan::findRows(unsigned long plans) const {
  unsigned long const maxVoxels = m_demand.memory / m_demand.voxelBytes;
  unsigned long fitting = 0, beyond = m_nbRows + 1;
  while (beyond - fitting > 1) {
    unsigned long const middle = fitting + (beyond - fitting) / 2;
    (countVoxels(plans, middle) <= maxVoxels ? fitting : beyond) = middle;
  }
  return fitting;
}

/** The number of processed voxels; margins at a cut count for both sides. */
double WindowPlan::estimateCost(unsigned long plans, unsigned long rows) const {
  pxl::kernel::Margins const& m = m_demand.margins;
  auto const withCuts = [](unsigned long size, unsigned long part, unsigned long margins) {
    return static_cast<double>(size) + static_cast<double>(countParts(size, part) - 1) * static_cast<double>(margins);
  };
  return withCuts(m_nbPlans, plans, m.plansBefore + m.plansAfter) *
         withCuts(m_nbRows, rows, m.rowsBefore + m.rowsAfter);
}

void WindowPlan::choose() {
  auto const countWindows = [this](unsigned long plans, unsigned long rows) {
    return countParts(m_nbPlans, plans) * countParts(m_nbRows, rows);
  };
  unsigned long plans = 1;
  while (true) {
    unsigned long const rows = findRows(plans);
    if (rows == 0) break;
    double const gain = m_plans == 0 ? 1 : estimateCost(m_plans, m_rows) - estimateCost(plans, rows);
    if (gain > 0 || (gain == 0 && countWindows(plans, rows) < countWindows(m_plans, m_rows))) {
      m_plans = plans;
      m_rows = rows;
    }
    if (plans == m_nbPlans) break;
    constexpr unsigned long cTryAll = 64;  // above this, sizes in steps of a quarter are close enough to the best one
    plans = std::min(m_nbPlans, plans < cTryAll ? plans + 1 : plans + plans / 4);
  }
  if (m_plans == 0) return;
  // The same number of windows of nearly equal size needs less memory.
  m_plans = countParts(m_nbPlans, countParts(m_nbPlans, m_plans));
  m_rows = countParts(m_nbRows, countParts(m_nbRows, m_rows));
}

unsigned long WindowPlan::getCount() const {
  if (m_plans == 0) return 0;
  auto const nbStacks =
      static_cast<unsigned long>(m_demand.region.getNbSequencePlans() * m_demand.region.getNbSpectralSeries());
  return countParts(m_nbPlans, m_plans) * countParts(m_nbRows, m_rows) * nbStacks;
}

pxl::access::Region WindowPlan::getWindow(unsigned long index) const {
  pxl::access::Region const& region = m_demand.region;
  unsigned long const nbSlabs = countParts(m_nbRows, m_rows);
  unsigned long const nbGroups = countParts(m_nbPlans, m_plans);
  auto const nbSequence = static_cast<unsigned long>(region.getNbSequencePlans());
  auto const row = static_cast<long>(index % nbSlabs * m_rows);
  index /= nbSlabs;
  auto const plan = static_cast<long>(index % nbGroups * m_plans);
  index /= nbGroups;
  long const sequence = region.sequenceBegin() + static_cast<long>(index % nbSequence);
  long const spectral = region.spectralSeriesBegin() + static_cast<long>(index / nbSequence);
  long const rowsBegin = region.rowsBegin() + row, plansBegin = region.plansBegin() + plan;
  return {rowsBegin,          std::min(region.rowsEnd(), rowsBegin + static_cast<long>(m_rows)),
          region.colsBegin(), region.colsEnd(),
          plansBegin,         std::min(region.plansEnd(), plansBegin + static_cast<long>(m_plans)),
          sequence,           sequence + 1,
          spectral,           spectral + 1};
}

pxl::access::Region WindowPlan::getEnlarged(pxl::access::Region const& w) const {
  pxl::kernel::Margins const& m = m_demand.margins;
  Interval const cols(w.colsBegin(), w.colsEnd(), m.colsBefore, m.colsAfter, m_demand.sizes[pxl::cColumns]);
  Interval const rows(w.rowsBegin(), w.rowsEnd(), m.rowsBefore, m.rowsAfter, m_demand.sizes[pxl::cRows]);
  Interval const plans(w.plansBegin(), w.plansEnd(), m.plansBefore, m.plansAfter, m_demand.sizes[pxl::cPlans]);
  return {rows.first,
          rows.last,
          cols.first,
          cols.last,
          plans.first,
          plans.last,
          w.sequenceBegin(),
          w.sequenceEnd(),
          w.spectralSeriesBegin(),
          w.spectralSeriesEnd()};
}

unsigned long WindowPlan::getLeastBytes() const { return countVoxels(1, 1) * m_demand.voxelBytes; }

}  // namespace qorn::io
