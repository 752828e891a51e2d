#include "qorn/io/Suffix.h"

namespace qorn::io {

std::string getSuffix(std::string const& path) {
  std::string::size_type const dot = path.find_last_of("./");
  std::string suffix = dot != std::string::npos && path[dot] == '.' ? path.substr(dot) : std::string();
  for (char& letter : suffix) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  if (suffix == ".gz" && dot > 0) {
    std::string const inner = getSuffix(path.substr(0, dot));
    if (inner == ".nii") return inner + suffix;
  }
  return suffix;
}

}  // namespace qorn::io
