#include "support/Tiff.h"

#include <tiffio.h>

#include <algorithm>
#include <stdexcept>

#include "support/Files.h"

namespace test {
namespace {

void writePage(TIFF* tiff, TiffLayout const& layout, std::string const& voxels) {
  std::size_t const pixelBytes = static_cast<std::size_t>(layout.samples) * static_cast<std::size_t>(layout.bits) / 8;
  std::size_t const rowBytes = std::max<std::size_t>(layout.cols * pixelBytes, 1);
  if (layout.tile == 0) {
    std::string row;
    for (unsigned int r = 0; r < layout.rows; ++r) {
      row = voxels.substr(r * rowBytes, rowBytes);
      if (TIFFWriteScanline(tiff, row.data(), r, 0) != 1) throw std::runtime_error("can't write a row");
    }
    return;
  }
  for (unsigned int row = 0; row < layout.rows; row += layout.tile) {
    for (unsigned int col = 0; col < layout.cols; col += layout.tile) {
      std::string tile(layout.tile * layout.tile * pixelBytes, '\x7f');  // the part beyond the edge isn't zero
      std::size_t const bytes = std::min(layout.tile, layout.cols - col) * pixelBytes;
      for (unsigned int r = 0; r < std::min(layout.tile, layout.rows - row); ++r) {
        tile.replace(r * layout.tile * pixelBytes, bytes,
                     voxels.substr((row + r) * rowBytes + col * pixelBytes, bytes));
      }
      if (TIFFWriteTile(tiff, tile.data(), col, row, 0, 0) < 0) throw std::runtime_error("can't write a tile");
    }
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
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
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
