#pragma once

#include <cstddef>
#include <string>

#include "qorn/io/FileError.h"

namespace qorn::io {

/**
 * The suffix of a path with its dot, in lower case; empty if there is none. A path that is a suffix is its own. That
 * of a.nii.gz is .nii.gz; of any other .gz it is .gz alone.
 */
std::string getSuffix(std::string const& path);

/** The entry of a table of formats for a path. @throws FileError there is none */
template <class Format, std::size_t N>
Format const& findFormat(Format const (&formats)[N], std::string const& path) {
  std::string const suffix = getSuffix(path);
  std::string known;
  for (Format const& format : formats) {
    if (suffix == format.suffix) return format;
    known += std::string(" ") + format.suffix;
  }
  throw FileError(path, "the suffix tells no image format; known are" + known);
}

}  // namespace qorn::io
