#pragma once

#include <string>

#include "pxl/Noncopyable.h"

namespace qorn::io {

/**
 * The name of an unfinished file. The file is removed by the destructor, and before a signal such as an interrupt
 * ends the process. Only one may exist at a time.
 */
class TemporaryName : private pxl::Noncopyable {
 public:
  /** Makes a random name in this folder. Nothing is created. */
  explicit TemporaryName(std::string const& folder);
  ~TemporaryName();

  std::string const& getPath() const { return m_path; }

  /** Removes the file with the present name, if there is one. For signal handlers that end the process. */
  static void unlinkPresent() noexcept;

 private:
  std::string m_path;
};

}  // namespace qorn::io
