#pragma once

#include <string>
#include <vector>

namespace qorn::io {

/** The meaning of a sample beyond grey, or red, green and blue. The values are those of the TIFF standard. */
enum class ExtraSamples { cUnknown = 0, cPremultipliedAlpha = 1, cAlpha = 2 };

/**
 * The pixel format of a picture in its file. In an image each sample is a position of the spectral series, and voxels
 * have the stored values. An output that is a picture gets the pixel format of the first input.
 */
struct Picture {
  bool isColour = false;                 ///< red, green and blue come first, else grey
  std::vector<ExtraSamples> extra = {};  ///< after them
  bool isOneBit = false;                 ///< a mask; its voxels are 0 and 1
  bool isWhiteZero = false;              ///< the smallest value is shown white; for TIFF
  bool isPlanar = false;                 ///< each sample has its own plane in the file; for TIFF
};

/** The number of samples per pixel, which is the number of spectral positions of the image. */
unsigned long getNbSamples(Picture const& picture);

/** "red", "grey", "alpha" and so on, in the order of the spectral series. */
std::vector<std::string> getSampleNames(Picture const& picture);

/** Whether two pictures have samples of the same meaning and width. */
bool haveSameSamples(Picture const& a, Picture const& b);

/** Why a file with a palette is refused, and how to convert it. */
constexpr char const* cPaletteAdvice =
    "has a palette: its voxels are colour numbers, not values; convert it to grey or RGB first, for example with "
    "Pillow's Image.convert(\"RGB\")";

/** Deinterleaves samples: sample s of pixel i becomes voxel i of the plane that begins at planes[s]. */
void separateSamples(char const* pixels, unsigned long nbPixels, std::vector<char*> const& planes,
                     unsigned long voxelBytes);
/** The inverse. */
void joinSamples(std::vector<char const*> const& planes, unsigned long nbPixels, unsigned long voxelBytes,
                 char* pixels);

/** Voxels 0 and 1 from bits; the first pixel is the highest bit of the first byte. */
void unpackBits(unsigned char const* bits, unsigned long nbPixels, unsigned char* voxels);
/** The inverse; the rest of the last byte is 0. */
void packBits(unsigned char const* voxels, unsigned long nbPixels, unsigned char* bits);

}  // namespace qorn::io
