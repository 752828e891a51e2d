#include <fcntl.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

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

/** The number of pages; each has all samples of its pixels. */
unsigned long getNbPages(ImageHeader const& header) {
  return header.sizes[pxl::cPlans] * header.sizes[pxl::cSequence] * header.sizes[pxl::cSpectralSeries] /
         getNbSamples(header.picture);
}

/** The shape, where pages alone don't define it: more than three dimensions, or a stack of one plan. */
std::string describeShape(ImageHeader const& header) {
  bool const hasSamples = getNbSamples(header.picture) > 1;
  if (hasSamples && header.sizes[pxl::cSequence] == 1) return {};
  if (header.rank == 2 || (header.rank == 3 && header.sizes[pxl::cPlans] > 1)) return {};
  std::vector<unsigned long> shape;
  for (int i = header.rank - 1; i >= 0; --i) shape.push_back(header.sizes[static_cast<std::size_t>(i)]);
  // The samples are at their position within the pages.
  if (hasSamples) std::rotate(shape.begin(), shape.begin() + 1, shape.end() - (header.picture.isPlanar ? 2 : 0));
  return nlohmann::json{{"shape", shape}}.dump();
}

/** The data that all pages of a file have in common. */
struct Layout {
  unsigned long nbSamples;
  unsigned long voxelBytes;
  bool isMask;
  bool isPlanar;
  unsigned long rowBytes;  ///< as stored
  unsigned long rowsPerStrip;
};

Layout makeLayout(ImageHeader const& header, void const* voxels) {
  constexpr unsigned long cStripBytes = 256 * 1024;
  unsigned long const nbSamples = getNbSamples(header.picture);
  unsigned long const cols = header.sizes[pxl::cColumns];
  unsigned long const voxelBytes = pxl::helper::getSizeOf(header.type);
  bool const isPlanar = header.picture.isPlanar && nbSamples > 1;
  bool const hasBits = isMask(header, voxels);
  unsigned long const rowBytes = hasBits ? (cols + 7) / 8 : cols * voxelBytes * (isPlanar ? 1 : nbSamples);
  return {nbSamples, voxelBytes, hasBits,
          isPlanar,  rowBytes,   std::clamp(cStripBytes / rowBytes, 1UL, header.sizes[pxl::cRows])};
}

void setPageFields(TIFF* tiff, ImageHeader const& header, Layout const& layout) {
  Picture const& picture = header.picture;
  unsigned long const bits = layout.isMask ? 1 : 8 * layout.voxelBytes;
  int const grey = picture.isWhiteZero ? PHOTOMETRIC_MINISWHITE : PHOTOMETRIC_MINISBLACK;
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(header.sizes[pxl::cColumns]));
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(header.sizes[pxl::cRows]));
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, static_cast<std::uint16_t>(bits));
  TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, getSampleFormat(header.type));
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, static_cast<std::uint16_t>(layout.nbSamples));
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, static_cast<std::uint16_t>(picture.isColour ? PHOTOMETRIC_RGB : grey));
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG,
               static_cast<std::uint16_t>(layout.isPlanar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG));
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, std::uint16_t(COMPRESSION_NONE));
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(layout.rowsPerStrip));
  std::vector<std::uint16_t> extra;
  for (ExtraSamples const one : picture.extra) extra.push_back(static_cast<std::uint16_t>(one));
  if (!extra.empty()) {
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, static_cast<std::uint16_t>(extra.size()), extra.data());
  }
}

/** The bytes of a strip. @return their address: `buffer`, or the voxels themselves */
char* fillStrip(ImageHeader const& header, Layout const& layout, unsigned long row, unsigned long rows,
                std::vector<char*> const& planes, std::vector<char>& buffer) {
  unsigned long const cols = header.sizes[pxl::cColumns];
  unsigned long const start = row * cols * layout.voxelBytes;
  if (planes.size() == 1 && !layout.isMask) return planes.front() + start;
  buffer.resize(layout.rowsPerStrip * layout.rowBytes);
  if (layout.isMask) {
    for (unsigned long r = 0; r < rows; ++r) {
      packBits(reinterpret_cast<unsigned char const*>(planes.front() + start) + r * cols, cols,
               reinterpret_cast<unsigned char*>(buffer.data()) + r * layout.rowBytes);
    }
  } else {
    std::vector<char const*> sources;
    for (char const* const plane : planes) sources.push_back(plane + start);
    joinSamples(sources, rows * cols, layout.voxelBytes, buffer.data());
  }
  return buffer.data();
}

/** Writes the strips of planes whose samples are interleaved in the file, and counts the strips. */
bool writeStrips(OutputFile const& file, TIFF* tiff, ImageHeader const& header, Layout const& layout,
                 std::vector<char*> const& planes, std::uint32_t& strip) {
  std::vector<char> buffer;
  unsigned long const nbRows = header.sizes[pxl::cRows];
  for (unsigned long row = 0; row < nbRows; row += layout.rowsPerStrip, ++strip) {
    unsigned long const rows = std::min(layout.rowsPerStrip, nbRows - row);
    auto const bytes = static_cast<tmsize_t>(rows * layout.rowBytes);
    if (!file.isWanted()) return false;
    char* const voxels = fillStrip(header, layout, row, rows, planes, buffer);
    if (TIFFWriteEncodedStrip(tiff, strip, voxels, bytes) != bytes) return false;
  }
  return true;
}

/** `planes` are those of the samples. */
bool writePage(OutputFile const& file, TIFF* tiff, ImageHeader const& header, Layout const& layout,
               std::string const& description, std::vector<char*> const& planes) {
  setPageFields(tiff, header, layout);
  if (!description.empty() && TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, description.c_str()) == 0) return false;
  std::uint32_t strip = 0;
  if (!layout.isPlanar) {
    if (!writeStrips(file, tiff, header, layout, planes, strip)) return false;
  } else {
    for (char* const plane : planes) {
      if (!writeStrips(file, tiff, header, layout, {plane}, strip)) return false;
    }
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
  constexpr unsigned long cMaxOffset = (1UL << 32) - 1;
  constexpr unsigned long cBytesPerPage = 4096;
  constexpr unsigned long cBytesPerStrip = 8;
  unsigned long const nbPages = getNbPages(header);
  unsigned long const nbRows = header.sizes[pxl::cRows] * getNbSamples(header.picture);
  return getNbBytes(header) + nbPages * cBytesPerPage + nbPages * nbRows * cBytesPerStrip > cMaxOffset;
}

void writeTiff(OutputFile const& file, ImageHeader const& header, void const* voxels) {
  captureTiffMessages();
  unsigned long const nbPages = getNbPages(header);
  Layout const layout = makeLayout(header, voxels);
  unsigned long const planeBytes = getNbBytes(header) / nbPages / layout.nbSamples;
  int const descriptor = ::fcntl(file.getDescriptor(), F_DUPFD_CLOEXEC, 0);
  TIFF* const opened =
      descriptor < 0 ? nullptr : TIFFFdOpen(descriptor, file.getPath().c_str(), needsBigTiff(header) ? "w8" : "w");
  if (opened == nullptr) {
    if (descriptor >= 0) ::close(descriptor);
    fail(file);
  }
  std::unique_ptr<TIFF, void (*)(TIFF*)> const tiff(opened, TIFFClose);
  // The library's interface isn't const-correct; without a change of byte order it only reads them.
  char* const first = static_cast<char*>(const_cast<void*>(voxels));
  std::vector<char*> planes(layout.nbSamples);
  for (unsigned long i = 0; i < nbPages; ++i) {
    for (std::size_t s = 0; s < planes.size(); ++s) planes[s] = first + (s * nbPages + i) * planeBytes;
    if (!writePage(file, tiff.get(), header, layout, i == 0 ? describeShape(header) : std::string(), planes))
      fail(file);
  }
  if (TIFFFlush(tiff.get()) == 0) fail(file);
}

}  // namespace qorn::io
