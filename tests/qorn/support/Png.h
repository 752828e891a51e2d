#pragma once

#include <string>
#include <vector>

namespace test {

/** A chunk with its length and checksum. */
std::string makePngChunk(std::string const& name, std::string const& data);

/** Signature and IHDR. `colour` is 0 grey, 2 RGB, 3 palette, 4 grey and alpha. */
std::string makePngStart(unsigned int cols, unsigned int rows, int bits, int colour = 0, bool isInterlaced = false);

/** A whole file; rows are in the byte order of PNG, which is big-endian. Written by libpng. */
void writePng(std::string const& path, unsigned int cols, unsigned int rows, int bits, int colour,
              std::string const& rowBytes, bool isInterlaced = false);

/** What libpng finds in a file; voxels in the byte order of PNG. */
struct PngContent {
  unsigned int cols;
  unsigned int rows;
  int bits;
  int colour;
  std::string rowBytes;
};
PngContent readPng(std::string const& path);

}  // namespace test
