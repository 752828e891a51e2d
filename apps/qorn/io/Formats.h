#pragma once

#include <string>

#include "qorn/io/ImageFile.h"

namespace qorn::io {

class InputFile;
class OutputFile;

/** How files with a suffix are read and written, see ImageReaders.h and ImageWriters.h. */
struct Format {
  char const* suffix;
  char const* name;  ///< for users; several suffixes may share one
  ImageHeader (*readHeader)(InputFile const& file);
  ImageFile (*read)(InputFile const& file, ReadOptions const& options);
  void (*check)(std::string const& path, ImageHeader const& header);
  void (*write)(OutputFile const& file, ImageHeader const& header, void const* voxels);
  bool isUsableOnDisk;  ///< an output's voxels can be processed in the file itself
};

/** The format with the suffix of a path. @throws FileError no format has it */
Format const& findFormat(std::string const& path);

}  // namespace qorn::io
