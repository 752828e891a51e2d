#include "qorn/io/Formats.h"

#include "qorn/io/FileError.h"
#include "qorn/io/ImageReaders.h"
#include "qorn/io/ImageWriters.h"
#include "qorn/io/Suffix.h"

namespace qorn::io {
namespace {

constexpr Format cFormats[] = {
    {".npy", "npy", readNpyImageHeader, readNpy, checkNpy, writeNpy, true},
    {".tif", "tiff", readTiffImageHeader, readTiff, checkTiff, writeTiff, false},
    {".tiff", "tiff", readTiffImageHeader, readTiff, checkTiff, writeTiff, false},
    {".png", "png", readPngImageHeader, readPng, checkPng, writePng, false},
    {".nii", "nifti", readNiftiImageHeader, readNifti, checkNifti, writeNifti, false},
    {".nii.gz", "nifti", readNiftiImageHeader, readNifti, checkNifti, writeCompressedNifti, false},
};

}  // namespace

Format const& findFormat(std::string const& path) {
  std::string const suffix = getSuffix(path);
  std::string known;
  for (Format const& format : cFormats) {
    if (suffix == format.suffix) return format;
    known += std::string(" ") + format.suffix;
  }
  throw FileError(path, "no image format has this suffix; known are" + known);
}

}  // namespace qorn::io
