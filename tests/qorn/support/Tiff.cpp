#include "support/Tiff.h"

#include <tiffio.h>

#include <algorithm>
#include <stdexcept>

#include "support/Files.h"

namespace test {
namespace {

/** Writes all samples of a page, or those of one plane. */
void writePlane(TIFF* tiff, TiffLayout const& layout, std::string const& voxels, unsigned short plane) {
  auto const samples = static_cast<std::size_t>(layout.isPlanar ? 1 : layout.samples);
  std::size_t const pixelBits = samples * static_cast<std::size_t>(layout.bits);
  auto const toBytes = [pixelBits](std::size_t pixels) { return (pixels * pixelBits + 7) / 8; };
  std::size_t const rowBytes = toBytes(layout.cols);
  if (layout.tile == 0) {
    std::string row;
    for (unsigned int r = 0; r < layout.rows; ++r) {
      row = voxels.substr(r * rowBytes, rowBytes);
      if (TIFFWriteScanline(tiff, row.data(), r, plane) != 1) throw std::runtime_error("can't write a row");
    }
    return;
  }
  for (unsigned int row = 0; row < layout.rows; row += layout.tile) {
    for (unsigned int col = 0; col < layout.cols; col += layout.tile) {
      std::string tile(layout.tile * toBytes(layout.tile), '\x7f');  // the part beyond the edge isn't zero
      std::size_t const bytes = toBytes(std::min(layout.tile, layout.cols - col));
      for (unsigned int r = 0; r < std::min(layout.tile, layout.rows - row); ++r) {
        tile.replace(r * toBytes(layout.tile), bytes, voxels.substr((row + r) * rowBytes + toBytes(col), bytes));
      }
      if (TIFFWriteTile(tiff, tile.data(), col, row, 0, plane) < 0) throw std::runtime_error("can't write a tile");
    }
  }
}

void writePage(TIFF* tiff, TiffLayout const& layout, std::string const& voxels) {
  int const nbPlanes = layout.isPlanar ? layout.samples : 1;
  std::size_t const planeBytes = voxels.size() / static_cast<std::size_t>(nbPlanes);
  for (int plane = 0; plane < nbPlanes; ++plane) {
    writePlane(tiff, layout, voxels.substr(static_cast<std::size_t>(plane) * planeBytes, planeBytes),
               static_cast<unsigned short>(plane));
  }
}

}  // namespace

void writeTiff(std::string const& path, TiffLayout const& layout, std::string const& voxels) {
  TIFF* const tiff = TIFFOpen(path.c_str(), layout.mode.c_str());
  if (tiff == nullptr) throw std::runtime_error("can't write " + path);
  std::size_t const pageBytes = voxels.size() / layout.pages;
  for (unsigned int page = 0; page < layout.pages; ++page) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, layout.cols);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, layout.rows);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, layout.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, layout.format);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, layout.samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, layout.photometric);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, layout.isPlanar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_FILLORDER, layout.fillOrder);
    if (!layout.extra.empty()) {
      TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, static_cast<int>(layout.extra.size()), layout.extra.data());
    }
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, layout.compression);
    if (layout.predictor != 1) TIFFSetField(tiff, TIFFTAG_PREDICTOR, layout.predictor);
    std::vector<unsigned short> colours(256, 0);
    if (layout.photometric == PHOTOMETRIC_PALETTE) {
      TIFFSetField(tiff, TIFFTAG_COLORMAP, colours.data(), colours.data(), colours.data());
    }
    if (layout.tile != 0) {
      TIFFSetField(tiff, TIFFTAG_TILEWIDTH, layout.tile);
      TIFFSetField(tiff, TIFFTAG_TILELENGTH, layout.tile);
    } else {
      TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, layout.stripRows);
    }
    if (page == 0 && !layout.description.empty()) {
      TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, layout.description.c_str());
    }
    writePage(tiff, layout, voxels.substr(page * pageBytes, pageBytes));
    if (TIFFWriteDirectory(tiff) != 1) throw std::runtime_error("can't write a page");
  }
  TIFFClose(tiff);
}

namespace {

TiffLayout readLayout(TIFF* tiff) {
  unsigned short bits = 0, format = 0, samples = 0, photometric = 0, compression = 0, planar = 0, nbExtra = 0;
  unsigned short* extra = nullptr;
  char const* description = nullptr;
  TiffLayout layout;
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &layout.cols);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &layout.rows);
  TIFFGetField(tiff, TIFFTAG_ROWSPERSTRIP, &layout.stripRows);
  TIFFGetField(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetField(tiff, TIFFTAG_SAMPLEFORMAT, &format);
  TIFFGetField(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
  TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
  TIFFGetField(tiff, TIFFTAG_COMPRESSION, &compression);
  if (TIFFGetField(tiff, TIFFTAG_IMAGEDESCRIPTION, &description) == 1) layout.description = description;
  TIFFGetField(tiff, TIFFTAG_PLANARCONFIG, &planar);
  if (TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &nbExtra, &extra) == 1) layout.extra.assign(extra, extra + nbExtra);
  layout.isPlanar = planar == PLANARCONFIG_SEPARATE;
  layout.bits = bits;
  layout.format = format;
  layout.samples = samples;
  layout.photometric = photometric;
  layout.compression = compression;
  return layout;
}

bool areAlike(TiffLayout const& a, TiffLayout const& b) {
  return a.cols == b.cols && a.rows == b.rows && a.bits == b.bits && a.format == b.format && a.samples == b.samples &&
         a.extra == b.extra && a.isPlanar == b.isPlanar && a.photometric == b.photometric &&
         a.compression == b.compression;
}

}  // namespace

TiffContent readTiff(std::string const& path) {
  TIFF* const tiff = TIFFOpen(path.c_str(), "r");
  if (tiff == nullptr) throw std::runtime_error("can't read " + path);
  TiffContent content{readLayout(tiff), true, readFile(path)[2] == 43, {}};
  content.layout.pages = 0;
  do {
    TiffLayout const layout = readLayout(tiff);
    content.isAlike = content.isAlike && areAlike(layout, content.layout) &&
                      (content.layout.pages == 0 || layout.description.empty());
    ++content.layout.pages;
    std::string row(static_cast<std::size_t>(TIFFScanlineSize(tiff)), '\0');
    for (int plane = 0; plane < (layout.isPlanar ? layout.samples : 1); ++plane) {
      for (unsigned int r = 0; r < layout.rows; ++r) {
        if (TIFFReadScanline(tiff, row.data(), r, static_cast<unsigned short>(plane)) != 1) {
          throw std::runtime_error("can't read a row");
        }
        content.voxels += row;
      }
    }
  } while (TIFFReadDirectory(tiff) == 1);
  TIFFClose(tiff);
  return content;
}

unsigned int getRawTiffDataOffset(unsigned int nbEntries) { return 8 + 2 + 12 * nbEntries + 4; }

std::string makeRawTiff(std::vector<TiffEntry> const& entries, std::string const& data) {
  std::string bytes("II*\0\x8\0\0\0", 8);
  bytes += toBytes<unsigned short>({static_cast<unsigned short>(entries.size())});
  for (TiffEntry const& entry : entries) {
    bytes +=
        toBytes<unsigned short>({static_cast<unsigned short>(entry.tag), static_cast<unsigned short>(entry.type)});
    bytes += toBytes<unsigned int>({entry.count, entry.value});
  }
  return bytes + std::string(4, '\0') + data;
}

}  // namespace test
