#include "qorn/io/Picture.h"

#include <cstring>

namespace qorn::io {
namespace {

/** Copies voxels between buffers with these strides in bytes. */
template <unsigned long cBytes>
void copySpaced(char const* source, unsigned long sourceStep, char* target, unsigned long targetStep,
                unsigned long count) {
  for (unsigned long i = 0; i < count; ++i) {
    std::memcpy(target + i * targetStep, source + i * sourceStep, cBytes);
  }
}

using Copy = void (*)(char const*, unsigned long, char*, unsigned long, unsigned long);

/** With a constant size, the compiler copies each voxel with one instruction. */
Copy getCopy(unsigned long voxelBytes) {
  switch (voxelBytes) {
    case 1:
      return copySpaced<1>;
    case 2:
      return copySpaced<2>;
    case 4:
      return copySpaced<4>;
    default:
      return copySpaced<8>;
  }
}

}  // namespace

unsigned long getNbSamples(Picture const& picture) { return (picture.isColour ? 3 : 1) + picture.extra.size(); }

std::vector<std::string> getSampleNames(Picture const& picture) {
  std::vector<std::string> names{"grey"};
  if (picture.isColour) names = {"red", "green", "blue"};
  for (ExtraSamples const extra : picture.extra) {
    names.emplace_back(extra == ExtraSamples::cAlpha                ? "alpha"
                       : extra == ExtraSamples::cPremultipliedAlpha ? "premultiplied alpha"
                                                                    : "unknown");
  }
  return names;
}

bool haveSameSamples(Picture const& a, Picture const& b) {
  return a.isColour == b.isColour && a.extra == b.extra && a.isOneBit == b.isOneBit;
}

void separateSamples(char const* pixels, unsigned long nbPixels, std::vector<char*> const& planes,
                     unsigned long voxelBytes) {
  Copy const copy = getCopy(voxelBytes);
  for (std::size_t s = 0; s < planes.size(); ++s) {
    copy(pixels + s * voxelBytes, planes.size() * voxelBytes, planes[s], voxelBytes, nbPixels);
  }
}

void joinSamples(std::vector<char const*> const& planes, unsigned long nbPixels, unsigned long voxelBytes,
                 char* pixels) {
  Copy const copy = getCopy(voxelBytes);
  for (std::size_t s = 0; s < planes.size(); ++s) {
    copy(planes[s], voxelBytes, pixels + s * voxelBytes, planes.size() * voxelBytes, nbPixels);
  }
}

void unpackBits(unsigned char const* bits, unsigned long nbPixels, unsigned char* voxels) {
  for (unsigned long i = 0; i < nbPixels; ++i) {
    voxels[i] = static_cast<unsigned char>(bits[i / 8] >> (7 - i % 8) & 1);
  }
}

void packBits(unsigned char const* voxels, unsigned long nbPixels, unsigned char* bits) {
  std::memset(bits, 0, (nbPixels + 7) / 8);
  for (unsigned long i = 0; i < nbPixels; ++i) {
    bits[i / 8] = static_cast<unsigned char>(bits[i / 8] | voxels[i] << (7 - i % 8));
  }
}

}  // namespace qorn::io
