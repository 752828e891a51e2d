#include "qorn/io/WindowedOutput.h"

#include <sys/mman.h>

#include "pxl/Exception.h"
#include "qorn/io/FileError.h"
#include "qorn/io/ImageWriters.h"
#include "qorn/io/Suffix.h"

namespace qorn::io {
namespace {

/** The mapped scratch file that a writer reads, and the caller's test for cancellation. */
struct Reading {
  void* pages = nullptr;
  unsigned long bytes = 0;
  bool (*isCancelled)() = nullptr;
};
Reading s_reading;

/**
 * Called by writers between pieces of at most 16 MiB, most of them much smaller. Releases the pages that were read:
 * pages of a mapped file count as memory of the program as long as they are mapped.
 */
bool isCancelledAfterRelease() {
  if (s_reading.pages != nullptr) ::madvise(s_reading.pages, s_reading.bytes, MADV_DONTNEED);
  return s_reading.isCancelled();
}

}  // namespace

WindowedOutput::WindowedOutput(std::string const& path, ImageHeader const& header, OutputOptions const& options)
    : m_header(header), m_file(path, options.isReplacing, options.isCancelled) {
  std::string const start = getSuffix(path) == ".npy" ? makeNpyHeader(header) : std::string();
  m_offset = start.size();
  m_file.reserve(m_offset + getNbBytes(header));
  m_file.write(start.data(), start.size(), 0);
  if (!start.empty()) return;
  m_file.renounceName();
  mapScratch(path, options);
}

WindowedOutput::~WindowedOutput() { s_reading = Reading(); }

void WindowedOutput::mapScratch(std::string const& path, OutputOptions options) {
  s_reading.isCancelled = options.isCancelled;
  options.isCancelled = isCancelledAfterRelease;
  try {
    auto const image = pxl::Image::OnMappedFile(m_file.getOpenPath(), m_header.type, m_header.sizes);
    s_reading.pages = const_cast<void*>(static_cast<pxl::Image const&>(*image).getVoxels());
    s_reading.bytes = getNbBytes(m_header);
    m_output = std::make_unique<OutputImage>(path, m_header, options, image);
  } catch (pxl::Exception const& error) {
    throw FileError(path, error.what());
  }
}

void WindowedOutput::write(pxl::access::Region const& region, char const* voxels, unsigned long rowDistance,
                           unsigned long planDistance) const {
  pxl::ImageSizes const& sizes = m_header.sizes;
  unsigned long const voxelBytes = pxl::helper::getSizeOf(m_header.type);
  auto const rows = static_cast<unsigned long>(region.getNbRows());
  unsigned long const rowBytes = static_cast<unsigned long>(region.getNbCols()) * voxelBytes;
  // Rows that are adjacent in memory and in the file are written at once.
  bool const isAdjacent = rowBytes == rowDistance && rowBytes == sizes[pxl::cColumns] * voxelBytes;
  unsigned long const nbAtOnce = isAdjacent ? rows : 1;
  auto const stack = static_cast<unsigned long>(region.spectralSeriesBegin()) * sizes[pxl::cSequence] +
                     static_cast<unsigned long>(region.sequenceBegin());
  for (long plan = region.plansBegin(); plan < region.plansEnd(); ++plan) {
    char const* source = voxels + static_cast<unsigned long>(plan - region.plansBegin()) * planDistance;
    unsigned long const page = stack * sizes[pxl::cPlans] + static_cast<unsigned long>(plan);
    for (unsigned long row = 0; row < rows; row += nbAtOnce, source += rowDistance) {
      unsigned long const rowOfFile = page * sizes[pxl::cRows] + static_cast<unsigned long>(region.rowsBegin()) + row;
      unsigned long const voxel = rowOfFile * sizes[pxl::cColumns] + static_cast<unsigned long>(region.colsBegin());
      m_file.write(source, nbAtOnce * rowBytes, m_offset + voxel * voxelBytes);
    }
  }
}

void WindowedOutput::finish() {
  if (m_output) m_output->write();
}

void WindowedOutput::commit() { m_output ? m_output->commit() : m_file.commit(); }

}  // namespace qorn::io
