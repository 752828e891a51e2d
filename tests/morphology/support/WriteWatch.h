#pragma once

#include <algorithm>

#include "instrument/Recorder.h"
#include "oracle/Oracle.h"

namespace morphology_test {

using oracle::Five;

/** Marks the voxels that a pass has written, and looks for them in what it reads. */
class WriteWatch {
 public:
  explicit WriteWatch(Five const& sizes) : m_written(sizes) {
    m_recorder.isTracing = false;
    m_recorder.onWrite = [this](pxl::instrument::Event const& event) {
      forEachVoxel(event, [this](unsigned char& isWritten) { isWritten = 1; });
      return true;
    };
    m_recorder.onRead = [this](pxl::instrument::Event const& event) {
      forEachVoxel(event, [this](unsigned char const& isWritten) { m_nbRead++, m_nbWrittenRead += isWritten; });
    };
  }

  long countWritten() const { return std::count(m_written.voxels.begin(), m_written.voxels.end(), 1); }
  long countRead() const { return m_nbRead; }
  long countWrittenRead() const { return m_nbWrittenRead; }

 private:
  // Of the row of an event, those in the image.
  template <class Visit>
  void forEachVoxel(pxl::instrument::Event const& event, Visit&& visit) {
    if (event.values[2] < 0 || event.values[2] >= m_written.sizes[1]) return;
    if (event.values[3] < 0 || event.values[3] >= m_written.sizes[2]) return;
    for (long col = event.values[1]; col < event.values[1] + event.values[0]; ++col)
      if (col >= 0 && col < m_written.sizes[0])
        visit(m_written.at({col, event.values[2], event.values[3], event.values[4], event.values[5]}));
  }

  oracle::Image<unsigned char> m_written;
  long m_nbRead = 0;
  long m_nbWrittenRead = 0;
  pxl::instrument::Recorder m_recorder;
};

}  // namespace morphology_test
