#pragma once

#include <string>

#include "pxl/Noncopyable.h"

namespace qorn::io {

/**
 * The name of an unfinished file, removed by the destructor, and before a signal such as an interrupt ends the
 * process. Only one at a time.
 */
class TemporaryName : private pxl::Noncopyable {
 public:
  /** A name in this folder that is very likely free. Nothing is created. */
  explicit TemporaryName(std::string const& folder);
  ~TemporaryName();

  std::string const& getPath() const { return m_path; }

  /** Removes the file with the present name, if there is one. For signal handlers that end the process. */
  static void unlinkPresent() noexcept;

 private:
  std::string m_path;
};

}  // namespace qorn::io
