#pragma once

#include "qorn/io/ImageFile.h"

namespace qorn::io {

class InputFile;

/** @throws FileError also for anything but greyscale of 8 or 16 bits */
ImageHeader readPngImageHeader(InputFile const& file);

/** Reads into memory. @throws FileError */
ImageFile readPng(InputFile const& file, ReadOptions const& options);

}  // namespace qorn::io
