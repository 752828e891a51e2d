#pragma once

#include <vector>

#include "pxl/kernel/Offsets.h"
#include "wide/FirKernels.h"
#include "wide/FoldProgram.h"
#include "wide/Slabs.h"

namespace pxl::wide {

/** The taps of a correlation, as it reads rows. Distances are shorter than the image, which is mirrored. */
class FirTaps {
 public:
  struct Source {
    long plan;
    long row;
  };
  struct Tap {
    std::size_t source;
    long col;
  };

  /** @param isFloat  whether the precision is float; else it is double */
  FirTaps(bool isVolume, SlabBox const& image, std::vector<kernel::Offset3D> offsets,
          std::vector<double> const& coefficients, bool isFloat);

  bool isVolume() const { return m_isVolume; }
  long getNbTaps() const { return static_cast<long>(m_taps.size()); }
  /** The rows that taps read, relative to that of the result; each is there once. */
  std::vector<Source> const& getSources() const { return m_sources; }
  std::vector<Tap> const& getTaps() const { return m_taps; }
  /** In the order of the taps, in the precision. */
  void const* getCoefficients() const {
    return m_floats.empty() ? static_cast<void const*>(m_doubles.data()) : m_floats.data();
  }
  bool hasNaN() const;

  /** How far taps read. Rows and plans are mirrored, so that both directions have the larger reach of the two. */
  Reach const& getReach() const { return m_reach; }

  /** Rows of results that are computed at once; more than one if the taps fill a box. */
  int getNbResults() const { return m_nbResults; }
  FirBox getBox() const { return {m_nbBoxPlans, m_nbBoxRows, m_nbBoxCols, getCoefficients()}; }
  kernel::Offset3D const& getFirstOfBox() const { return m_first; }

 private:
  void findBox(std::vector<kernel::Offset3D> const& offsets);

  bool m_isVolume;
  std::vector<Source> m_sources;
  std::vector<Tap> m_taps;
  std::vector<float> m_floats;
  std::vector<double> m_doubles;
  Reach m_reach{};
  int m_nbResults = 1;
  kernel::Offset3D m_first{};
  long m_nbBoxPlans = 0;
  long m_nbBoxRows = 0;
  long m_nbBoxCols = 0;
};

/** Where a row or column beyond a mirrored edge is within the image: 2 1 0 1 2 3 2 1 0 ... */
long reflect(long position, long size);

}  // namespace pxl::wide
