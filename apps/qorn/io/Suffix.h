#pragma once

#include <string>

namespace qorn::io {

/**
 * The suffix of a path with its dot, in lower case; empty if there is none. A path that is a suffix is its own. That
 * of a.nii.gz is .nii.gz; of any other .gz it is .gz alone.
 */
std::string getSuffix(std::string const& path);

}  // namespace qorn::io
