#pragma once

#include <algorithm>
#include <random>
#include <string>

namespace test {

/** Bytes of pixels as voxels of one sample after the other: [pixel][sample] becomes [sample][pixel]. */
inline std::string toPlanes(std::string const& pixels, unsigned long nbSamples, unsigned long voxelBytes) {
  std::string planes;
  for (unsigned long s = 0; s < nbSamples; ++s) {
    for (unsigned long i = s * voxelBytes; i < pixels.size(); i += nbSamples * voxelBytes) {
      planes += pixels.substr(i, voxelBytes);
    }
  }
  return planes;
}

/** Rows of bits as voxels 0 and 1; each row begins at a byte, with its highest bit. */
inline std::string toVoxels(std::string const& rows, unsigned long nbCols) {
  std::string voxels;
  unsigned long const rowBytes = (nbCols + 7) / 8;
  for (unsigned long row = 0; row < rows.size() / rowBytes; ++row) {
    for (unsigned long col = 0; col < nbCols; ++col) {
      auto const byte = static_cast<unsigned char>(rows[row * rowBytes + col / 8]);
      voxels += (byte & (0x80 >> col % 8)) != 0 ? '\1' : '\0';
    }
  }
  return voxels;
}

/** Sets the bits of each row that lie beyond its last pixel to 0. */
inline std::string clearRest(std::string rows, unsigned long nbCols) {
  unsigned long const rowBytes = (nbCols + 7) / 8;
  for (unsigned long last = rowBytes - 1; nbCols % 8 != 0 && last < rows.size(); last += rowBytes) {
    rows[last] = static_cast<char>(rows[last] & static_cast<char>(0xff00 >> nbCols % 8));
  }
  return rows;
}

/** Values of so many bytes in the other byte order. */
inline std::string swapBytes(std::string bytes, std::size_t valueBytes) {
  auto const step = static_cast<long>(valueBytes);
  for (auto value = bytes.begin(); value != bytes.end(); value += step) std::reverse(value, value + step);
  return bytes;
}

inline std::string makeNoise(std::mt19937& random, unsigned long count) {
  std::string bytes(count, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

}  // namespace test
