#pragma once

#include <stdexcept>
#include <string>

namespace qorn::io {

/** A file can't be used. The text is one line, "PATH: WHY"; an empty path is shown as "empty path". */
class FileError : public std::runtime_error {
 public:
  FileError(std::string const& path, std::string const& why)
      : std::runtime_error((path.empty() ? "empty path" : path) + ": " + why) {}
};

}  // namespace qorn::io
