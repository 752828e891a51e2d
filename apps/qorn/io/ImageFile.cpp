#include "qorn/io/ImageFile.h"

#include "qorn/io/FileError.h"
#include "qorn/io/InputFile.h"
#include "qorn/io/NiftiReader.h"
#include "qorn/io/NpyReader.h"
#include "qorn/io/PngReader.h"
#include "qorn/io/Suffix.h"
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
    {".npy", readNpyImageHeader, readNpy},     {".tif", readTiffImageHeader, readTiff},
    {".tiff", readTiffImageHeader, readTiff},  {".png", readPngImageHeader, readPng},
    {".nii", readNiftiImageHeader, readNifti}, {".nii.gz", readNiftiImageHeader, readNifti},
};

}  // namespace

std::string getSuffix(std::string const& path) {
  std::string::size_type const dot = path.find_last_of("./");
  std::string suffix = dot != std::string::npos && path[dot] == '.' ? path.substr(dot) : std::string();
  for (char& letter : suffix) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  if (suffix == ".gz" && dot > 0) {
    std::string const inner = getSuffix(path.substr(0, dot));
    if (inner == ".nii") return inner + suffix;
  }
  return suffix;
}

void checkBeforeReading(std::string const& path, ImageHeader const& header, ReadOptions const& options) {
  unsigned long const nbVoxels = getNbVoxels(header);
  if (header.isCompressed && nbVoxels > options.maxCompressedVoxels) {
    throw FileError(path, std::to_string(nbVoxels) + " voxels in compressed form; at most " +
                              std::to_string(options.maxCompressedVoxels) +
                              " are read unless --max-voxels allows more");
  }
  if (options.check) options.check(header);
}

namespace {

/** People have these; whatever a file is called, it is told what it is. */
void checkIsNoJpeg(InputFile const& file) {
  unsigned char start[3] = {};
  if (file.getSize() >= sizeof start) file.read(start, sizeof start, 0);
  if (start[0] == 0xff && start[1] == 0xd8 && start[2] == 0xff) {
    throw FileError(file.getPath(),
                    "is a JPEG file, which isn't read: its compression has changed the values that "
                    "were recorded; save it as PNG or TIFF to go on with those it has");
  }
}

}  // namespace

ImageHeader readImageHeader(std::string const& path) {
  InputFile const file(path);
  checkIsNoJpeg(file);
  return findFormat(cFormats, path).readHeader(file);
}

ImageFile readImage(std::string const& path, ReadOptions const& options) {
  InputFile const file(path);
  checkIsNoJpeg(file);
  return findFormat(cFormats, path).read(file, options);
}

}  // namespace qorn::io
