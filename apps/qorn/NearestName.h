#pragma once

#include <string>
#include <vector>

namespace qorn {

/**
 * The known name that was probably meant: the one with the smallest edit distance, ignoring case, the first on ties.
 * Empty if every distance is at least half the length of the name.
 */
std::string findNearestName(std::string const& name, std::vector<std::string> const& known);

/** `why` followed by the nearest name, if there is one. */
std::string suggestName(std::string const& why, std::string const& name, std::vector<std::string> const& known);

}  // namespace qorn
