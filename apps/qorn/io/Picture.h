#pragma once

#include <string>
#include <vector>

namespace qorn::io {

/** What a sample beyond grey, or red, green and blue, stands for. The values are those of the TIFF standard. */
enum class ExtraSamples { cUnknown = 0, cPremultipliedAlpha = 1, cAlpha = 2 };

/**
 * The pixels of a picture as its file has them. In an image each sample is a position of the spectral series, and
 * voxels have the values that are stored. An output that is a picture gets pixels as those of the first input.
 */
struct Picture {
  bool isColour = false;                 ///< red, green and blue come first, else grey
  std::vector<ExtraSamples> extra = {};  ///< after them
  bool isOneBit = false;                 ///< a mask; its voxels are 0 and 1
  bool isWhiteZero = false;              ///< the smallest value is shown white; for TIFF
  bool isPlanar = false;                 ///< each sample has a plane of its own in the file; for TIFF
};

/** The samples of a pixel; an image of a picture has as many spectral positions if they are several. */
unsigned long getNbSamples(Picture const& picture);

/** "red", "grey", "alpha" and so on, in the order of the spectral series. */
std::vector<std::string> getSampleNames(Picture const& picture);

/** Whether two pictures have samples of the same meaning and width. */
bool haveSameSamples(Picture const& a, Picture const& b);

/** How a file with a palette can be used all the same. */
constexpr char const* cPaletteAdvice =
    "has a palette: what it stores are numbers of colours, not values; save it as grey or RGB first, for example by "
    "Pillow's Image.convert(\"RGB\")";

/** Separates pixels of some samples: sample s of pixel i becomes voxel i of the plane that begins at planes[s]. */
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
