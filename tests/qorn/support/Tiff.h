#pragma once

#include <string>
#include <vector>

namespace test {

/** How a TIFF file is written. */
struct TiffLayout {
  unsigned int cols = 0;
  unsigned int rows = 0;
  unsigned int pages = 1;
  int bits = 8;
  int format = 1;                          ///< 1 unsigned, 2 signed, 3 floating point, 6 complex
  int samples = 1;                         ///< per pixel
  std::vector<unsigned short> extra = {};  ///< what samples beyond the colour are: 0 unknown, 1 or 2 alpha
  bool isPlanar = false;                   ///< the samples of a page are planes, one after the other
  int fillOrder = 1;                       ///< 2: the first pixel is the lowest bit
  int photometric = 1;                     ///< 0 white is 0, 1 black is 0, 2 RGB, 3 palette
  int compression = 1;                     ///< 1 none, 5 LZW, 8 deflate, 4 of faxes, 32773 PackBits
  int predictor = 1;                       ///< 2 horizontal differences, 3 of floating point; with LZW and deflate
  unsigned int stripRows = 3;
  unsigned int tile = 0;   ///< width and height of tiles; 0 for strips
  std::string mode = "w";  ///< as the library has it: "wl", "wb" for the byte order, "w8" for 64-bit offsets
  std::string description;
};

inline TiffLayout makeTiffLayout(unsigned int cols, unsigned int rows, unsigned int pages = 1) {
  TiffLayout layout;
  layout.cols = cols;
  layout.rows = rows;
  layout.pages = pages;
  return layout;
}
inline TiffLayout makeRgbLayout(unsigned int cols, unsigned int rows, unsigned int pages = 1) {
  TiffLayout layout = makeTiffLayout(cols, rows, pages);
  layout.samples = 3;
  layout.photometric = 2;
  return layout;
}

/** Writes pages of native voxels, one page after the other, by libtiff; rows of bits begin at a byte. */
void writeTiff(std::string const& path, TiffLayout const& layout, std::string const& voxels);

/** What libtiff finds in a file. */
struct TiffContent {
  TiffLayout layout;   ///< of the first page; no tiles; stripRows as it is stored
  bool isAlike;        ///< the other pages have the same size and type, and no description
  bool isBig;          ///< 64-bit offsets
  std::string voxels;  ///< page after page
};
TiffContent readTiff(std::string const& path);

/** One entry of a directory; a value of up to four bytes stands in the entry itself. */
struct TiffEntry {
  int tag;
  int type;  ///< 3 for 16 bit, 4 for 32 bit numbers
  unsigned int count;
  unsigned int value;
};

/** A little-endian file of one directory with exactly these entries, and `data` behind it. */
std::string makeRawTiff(std::vector<TiffEntry> const& entries, std::string const& data);

/** The offset of the data in makeRawTiff(). */
unsigned int getRawTiffDataOffset(unsigned int nbEntries);

}  // namespace test
