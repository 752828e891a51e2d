#include <fcntl.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>

#include "qorn/io/FileError.h"
#include "qorn/io/ImageWriters.h"
#include "qorn/io/OutputFile.h"
#include "qorn/io/TiffMessages.h"

namespace qorn::io {
namespace {

[[noreturn]] void fail(OutputFile const& file) {
  file.checkIsWanted();
  std::string const error = getTiffSystemError();
  std::string const message = error.empty() ? getTiffMessage() : error;
  throw FileError(file.getPath(), "can't be written" + (message.empty() ? message : ": " + message));
}

std::uint16_t getSampleFormat(pxl::VoxelTypes type) {
  if (type >= pxl::cFloat) return SAMPLEFORMAT_IEEEFP;
  return type >= pxl::cInteger8 ? SAMPLEFORMAT_INT : SAMPLEFORMAT_UINT;
}

unsigned long getNbPages(ImageHeader const& header) {
  return header.sizes[pxl::cPlans] * header.sizes[pxl::cSequence] * header.sizes[pxl::cSpectralSeries];
}

/** What pages alone don't tell: more than three dimensions, or a stack of one plan. */
std::string describeShape(ImageHeader const& header) {
  if (header.rank == 2 || (header.rank == 3 && header.sizes[pxl::cPlans] > 1)) return {};
  nlohmann::json shape;
  for (int i = header.rank - 1; i >= 0; --i) shape.push_back(header.sizes[static_cast<std::size_t>(i)]);
  return nlohmann::json{{"shape", shape}}.dump();
}

bool writePage(OutputFile const& file, TIFF* tiff, ImageHeader const& header, std::string const& description,
               char* voxels) {
  constexpr unsigned long cStripBytes = 256 * 1024;
  unsigned long const rows = header.sizes[pxl::cRows];
  unsigned long const rowBytes = header.sizes[pxl::cColumns] * pxl::helper::getSizeOf(header.type);
  unsigned long const rowsPerStrip = std::clamp(cStripBytes / rowBytes, 1ul, rows);
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(header.sizes[pxl::cColumns]));
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(rows));
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, static_cast<std::uint16_t>(8 * pxl::helper::getSizeOf(header.type)));
  TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, getSampleFormat(header.type));
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, std::uint16_t(1));
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, std::uint16_t(PHOTOMETRIC_MINISBLACK));
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, std::uint16_t(PLANARCONFIG_CONTIG));
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, std::uint16_t(COMPRESSION_NONE));
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(rowsPerStrip));
  if (!description.empty() && TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, description.c_str()) == 0) return false;
  std::uint32_t strip = 0;
  for (unsigned long row = 0; row < rows; row += rowsPerStrip, ++strip) {
    auto const bytes = static_cast<tmsize_t>(std::min(rowsPerStrip, rows - row) * rowBytes);
    if (!file.isWanted()) return false;
    if (TIFFWriteEncodedStrip(tiff, strip, voxels + row * rowBytes, bytes) != bytes) return false;
  }
  return TIFFWriteDirectory(tiff) != 0;
}

}  // namespace

void checkTiff(std::string const& path, ImageHeader const& header) {
  if (getNbPages(header) > cMaxTiffPages) {
    throw FileError(path, "TIFF holds at most " + std::to_string(cMaxTiffPages) + " plans, this image has " +
                              std::to_string(getNbPages(header)));
  }
}

bool needsBigTiff(ImageHeader const& header) {
  constexpr unsigned long cMaxOffset = (1ul << 32) - 1;
  constexpr unsigned long cBytesPerPage = 4096;
  constexpr unsigned long cBytesPerStrip = 8;
  unsigned long const nbPages = getNbPages(header);
  return getNbBytes(header) + nbPages * cBytesPerPage + nbPages * header.sizes[pxl::cRows] * cBytesPerStrip >
         cMaxOffset;
}

void writeTiff(OutputFile const& file, ImageHeader const& header, void const* voxels) {
  captureTiffMessages();
  unsigned long const nbPages = getNbPages(header);
  unsigned long const pageBytes = getNbBytes(header) / nbPages;
  int const descriptor = ::fcntl(file.getDescriptor(), F_DUPFD_CLOEXEC, 0);
  TIFF* const opened =
      descriptor < 0 ? nullptr : TIFFFdOpen(descriptor, file.getPath().c_str(), needsBigTiff(header) ? "w8" : "w");
  if (opened == nullptr) {
    if (descriptor >= 0) ::close(descriptor);
    fail(file);
  }
  std::unique_ptr<TIFF, void (*)(TIFF*)> const tiff(opened, TIFFClose);
  // The library's interface isn't const-correct; without a change of byte order it only reads them.
  char* const pages = static_cast<char*>(const_cast<void*>(voxels));
  for (unsigned long i = 0; i < nbPages; ++i) {
    if (!writePage(file, tiff.get(), header, i == 0 ? describeShape(header) : std::string(), pages + i * pageBytes))
      fail(file);
  }
  if (TIFFFlush(tiff.get()) == 0) fail(file);
}

}  // namespace qorn::io
