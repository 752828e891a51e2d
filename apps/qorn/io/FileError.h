#pragma once

#include <stdexcept>
#include <string>

namespace qorn::io {

/** A file that can't be used. The text is one line: "PATH: WHY"; a path without letters is named. */
class FileError : public std::runtime_error {
 public:
  FileError(std::string const& path, std::string const& why)
      : std::runtime_error((path.empty() ? "empty path" : path) + ": " + why) {}
};

}  // namespace qorn::io
