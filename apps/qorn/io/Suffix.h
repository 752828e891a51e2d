#pragma once

#include <string>

namespace qorn::io {

/**
 * The suffix of a path with its dot, in lower case; empty if there is none. If the whole name is a suffix, it is
 * returned. The suffix of a.nii.gz is .nii.gz; that of any other .gz file is .gz.
 */
std::string getSuffix(std::string const& path);

}  // namespace qorn::io
