#pragma once

#include <string>
#include <vector>

namespace qorn {

/**
 * The known name that was probably meant: the one that takes the fewest changes of a letter, upper and lower case
 * alike. Empty when none takes less than half as many as the name has letters; the first of several that do.
 */
std::string findNearestName(std::string const& name, std::vector<std::string> const& known);

/** `why` with the nearest name behind it, if there is one. */
std::string suggestName(std::string const& why, std::string const& name, std::vector<std::string> const& known);

}  // namespace qorn
