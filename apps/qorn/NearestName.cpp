#include "qorn/NearestName.h"

#include <algorithm>
#include <numeric>

namespace qorn {
namespace {

char toLower(char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter; }

/** The edit distance: the least number of letters to add, drop or replace (Levenshtein, 1966). */
std::size_t countChanges(std::string const& from, std::string const& to) {
  std::vector<std::size_t> changes(to.size() + 1);  // from the first letters of `from` to those of `to`
  std::iota(changes.begin(), changes.end(), 0);
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = changes[0];
    changes[0] = i + 1;
    for (std::size_t j = 0; j < to.size(); ++j) {
      std::size_t const replaced = diagonal + (toLower(from[i]) == toLower(to[j]) ? 0 : 1);
      diagonal = changes[j + 1];
      changes[j + 1] = std::min({replaced, diagonal + 1, changes[j] + 1});
    }
  }
  return changes.back();
}

}  // namespace

std::string findNearestName(std::string const& name, std::vector<std::string> const& known) {
  std::string nearest;
  std::size_t least = (name.size() + 1) / 2;
  for (std::string const& candidate : known) {
    std::size_t const nbChanges = countChanges(name, candidate);
    if (nbChanges >= least) continue;
    least = nbChanges;
    nearest = candidate;
  }
  return nearest;
}

std::string suggestName(std::string const& why, std::string const& name, std::vector<std::string> const& known) {
  std::string const nearest = findNearestName(name, known);
  return nearest.empty() ? why : why + "; the nearest is " + nearest;
}

}  // namespace qorn
