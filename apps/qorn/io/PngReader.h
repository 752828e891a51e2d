#pragma once

#include "qorn/io/ImageFile.h"

namespace qorn::io {

class InputFile;

/** @throws FileError also for palettes, and for 2 or 4 bits */
ImageHeader readPngImageHeader(InputFile const& file);

/** Reads into memory. @throws FileError */
ImageFile readPng(InputFile const& file, ReadOptions const& options);

}  // namespace qorn::io
