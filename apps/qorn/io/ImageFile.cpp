#include "qorn/io/ImageFile.h"

#include <algorithm>

#include "qorn/io/FileError.h"
#include "qorn/io/InputFile.h"
#include "qorn/io/NpyReader.h"
#include "qorn/io/PngReader.h"
#include "qorn/io/TiffReader.h"

namespace qorn::io {
namespace {

/** How files with one suffix are read. */
struct Format {
  char const* suffix;
  ImageHeader (*readHeader)(InputFile const& file);
  ImageFile (*read)(InputFile const& file, ReadOptions const& options);
};

constexpr Format cFormats[] = {
    {".npy", readNpyImageHeader, readNpy},
    {".tif", readTiffImageHeader, readTiff},
    {".tiff", readTiffImageHeader, readTiff},
    {".png", readPngImageHeader, readPng},
};

Format const& findFormat(std::string const& path) {
  std::string::size_type const dot = path.find_last_of("./");
  std::string suffix = dot != std::string::npos && path[dot] == '.' ? path.substr(dot) : std::string();
  for (char& letter : suffix) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  std::string known;
  for (Format const& format : cFormats) {
    if (suffix == format.suffix) return format;
    known += std::string(" ") + format.suffix;
  }
  throw FileError(path, "the suffix tells no image format; known are" + known);
}

}  // namespace

ImageHeader readImageHeader(std::string const& path) {
  InputFile const file(path);
  return findFormat(path).readHeader(file);
}

ImageFile readImage(std::string const& path, ReadOptions const& options) {
  InputFile const file(path);
  return findFormat(path).read(file, options);
}

}  // namespace qorn::io
