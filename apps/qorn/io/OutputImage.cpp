#include "qorn/io/OutputImage.h"

#include <algorithm>
#include <vector>

#include "pxl/Exception.h"
#include "qorn/io/FileError.h"
#include "qorn/io/Formats.h"
#include "qorn/io/ImageWriters.h"

namespace qorn::io {
namespace {

/** @throws FileError the format can't hold such an image */
Format const& chooseFormat(std::string const& path, ImageHeader const& header, bool isOnDisk) {
  Format const& format = findFormat(path);
  format.check(path, header);
  if (isOnDisk && !format.isUsableOnDisk) throw FileError(path, "only .npy can be used on disk");
  return format;
}

/** Writes the voxels of an image, which may be larger than memory, to the file from `offset` on. */
void copyVoxels(pxl::Image const& image, OutputFile const& file, unsigned long offset) {
  std::vector<char> buffer(1UL << 22);
  unsigned long nbFilled = 0;
  auto const flush = [&] {
    file.write(buffer.data(), nbFilled, offset);
    offset += nbFilled;
    nbFilled = 0;
  };
  auto const storage = image.getSource().storage;
  pxl::ImageSizes const sizes = image.getSizes();
  unsigned long const voxelBytes = pxl::helper::getSizeOf(image.getVoxelType());
  unsigned long position[pxl::cNbComponents] = {};
  while (position[pxl::cSpectralSeries] < sizes[pxl::cSpectralSeries]) {
    unsigned long const count = std::min(sizes[pxl::cColumns] - position[pxl::cColumns], buffer.size() / voxelBytes);
    if (nbFilled + count * voxelBytes > buffer.size()) flush();
    storage->readRun(buffer.data() + nbFilled, count, position);
    nbFilled += count * voxelBytes;
    position[pxl::cColumns] += count;
    for (std::size_t i = 0; i + 1 < sizes.size() && position[i] == sizes[i]; ++i) {
      position[i] = 0;
      ++position[i + 1];
    }
  }
  flush();
}

std::shared_ptr<pxl::Image> makeImageInFile(OutputFile const& file, ImageHeader const& header, int interpretation,
                                            pxl::Image const* source) {
  std::string const start = makeNpyHeader(header);
  file.reserve(start.size() + getNbBytes(header));
  file.write(start.data(), start.size(), 0);
  if (source != nullptr) copyVoxels(*source, file, start.size());
  try {
    return pxl::Image::OnDisk(file.getOpenPath(), pxl::FileModes::cReadWrite, header.type, header.sizes, start.size(),
                              interpretation);
  } catch (pxl::Exception const& error) {
    throw FileError(file.getPath(), error.what());
  }
}

}  // namespace

OutputImage::OutputImage(std::string const& path, ImageHeader const& header, OutputOptions const& options,
                         std::shared_ptr<pxl::Image> image)
    : m_format(chooseFormat(path, header, options.isOnDisk)),
      m_header(header),
      m_file(path, options.isReplacing, options.isCancelled),
      m_isInFile(options.isOnDisk),
      m_image(std::move(image)) {
  if (m_isInFile) {
    m_image = makeImageInFile(m_file, header, options.interpretation, m_image.get());
  } else if (!m_image) {
    m_image = makeImage(path, header, options.interpretation);
  }
}

void OutputImage::write() {
  if (m_isInFile) return;
  m_format.write(m_file, m_header, static_cast<pxl::Image const&>(*m_image).getVoxels());
}

}  // namespace qorn::io
