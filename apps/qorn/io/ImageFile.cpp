#include "qorn/io/ImageFile.h"

#include "qorn/io/FileError.h"
#include "qorn/io/Formats.h"
#include "qorn/io/InputFile.h"

namespace qorn::io {
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

/** Refuses JPEG files with an explanation, whatever their suffix. */
void checkIsNoJpeg(InputFile const& file) {
  unsigned char start[3] = {};
  if (file.getSize() >= sizeof start) file.read(start, sizeof start, 0);
  if (start[0] == 0xff && start[1] == 0xd8 && start[2] == 0xff) {
    throw FileError(file.getPath(),
                    "is a JPEG file, which isn't read: its compression has changed the recorded "
                    "values; convert it to PNG or TIFF to use the values that it has");
  }
}

}  // namespace

ImageHeader readImageHeader(std::string const& path) {
  InputFile const file(path);
  checkIsNoJpeg(file);
  Format const& format = findFormat(path);
  ImageHeader header = format.readHeader(file);
  header.format = format.name;
  return header;
}

ImageFile readImage(std::string const& path, ReadOptions const& options) {
  InputFile const file(path);
  checkIsNoJpeg(file);
  Format const& format = findFormat(path);
  ImageFile read = format.read(file, options);
  read.header.format = format.name;
  return read;
}

}  // namespace qorn::io
