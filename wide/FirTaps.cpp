#include "wide/FirTaps.h"

#include <algorithm>
#include <map>
#include <utility>

namespace pxl::wide {
namespace {

constexpr long cMaxNbResults = 4;

// A mirrored dimension repeats itself, so that a distance has one that is shorter than the image.
long shorten(long distance, long size) {
  if (distance > -size && distance < size) return distance;
  if (size == 1) return 0;
  long const period = 2 * (size - 1);
  long const phase = (distance % period + period) % period;
  return phase < size ? phase : phase - period;
}

}  // namespace

long reflect(long position, long size) {
  if (position >= 0 && position < size) return position;
  if (size == 1) return 0;
  long const period = 2 * (size - 1);
  long const phase = (position % period + period) % period;
  return phase < size ? phase : period - phase;
}

FirTaps::FirTaps(bool isVolume, SlabBox const& image, std::vector<kernel::Offset3D> offsets,
                 std::vector<double> const& coefficients, bool isFloat)
    : m_isVolume(isVolume) {
  long const nbRows = isVolume ? image.getNbRows() : image.getNbSlabs();
  long const nbPlans = isVolume ? image.getNbSlabs() : 1;
  for (kernel::Offset3D& offset : offsets)
    offset = {shorten(offset.col, image.getNbCols()), shorten(offset.row, nbRows), shorten(offset.plan, nbPlans)};
  if (isFloat)
    std::transform(coefficients.begin(), coefficients.end(), std::back_inserter(m_floats),
                   [](double coefficient) { return static_cast<float>(coefficient); });
  else
    m_doubles = coefficients;

  std::map<std::pair<long, long>, std::size_t> indices;
  for (kernel::Offset3D const& offset : offsets) {
    bool const isOfLast = !m_taps.empty() && m_sources[m_taps.back().source].plan == offset.plan &&
                          m_sources[m_taps.back().source].row == offset.row;
    std::size_t index = isOfLast ? m_taps.back().source : 0;
    if (!isOfLast) {
      auto const found = indices.emplace(std::make_pair(offset.plan, offset.row), m_sources.size());
      if (found.second) m_sources.push_back({offset.plan, offset.row});
      index = found.first->second;
    }
    m_taps.push_back({index, offset.col});
    m_reach.left = std::max(m_reach.left, -offset.col);
    m_reach.right = std::max(m_reach.right, offset.col);
    m_reach.up = m_reach.down = std::max({m_reach.up, offset.row, -offset.row});
    m_reach.before = m_reach.after = std::max({m_reach.before, offset.plan, -offset.plan});
  }
  findBox(offsets);
}

bool FirTaps::hasNaN() const {
  auto const isNaN = [](auto coefficient) { return coefficient != coefficient; };
  return std::any_of(m_floats.begin(), m_floats.end(), isNaN) ||
         std::any_of(m_doubles.begin(), m_doubles.end(), isNaN);
}

void FirTaps::findBox(std::vector<kernel::Offset3D> const& offsets) {
  if (offsets.empty()) return;
  kernel::Offset3D const &first = offsets.front(), &last = offsets.back();
  long const nbPlans = last.plan - first.plan + 1, nbRows = last.row - first.row + 1,
             nbCols = last.col - first.col + 1;
  if (nbPlans < 1 || nbRows < 2 || nbCols < 1 || nbPlans * nbRows * nbCols != getNbTaps()) return;
  auto offset = offsets.begin();
  for (long plan = 0; plan < nbPlans; ++plan)
    for (long row = 0; row < nbRows; ++row)
      for (long col = 0; col < nbCols; ++col, ++offset)
        if (offset->plan != first.plan + plan || offset->row != first.row + row || offset->col != first.col + col)
          return;
  m_first = first;
  m_nbBoxPlans = nbPlans;
  m_nbBoxRows = nbRows;
  m_nbBoxCols = nbCols;
  m_nbResults = static_cast<int>(std::min(nbRows, cMaxNbResults));
}

}  // namespace pxl::wide
