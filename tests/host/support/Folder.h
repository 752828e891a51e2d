#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace host_test {

/** A folder of its own for one test, removed with everything in it. */
class Folder {
 public:
  Folder() : m_path((std::filesystem::temp_directory_path() / "pxlworks-XXXXXX").string()) {
    if (!::mkdtemp(m_path.data())) ADD_FAILURE() << "no folder " << m_path;
    // Also for the user that a test of permissions becomes.
    ::chmod(m_path.c_str(), 0755);
  }
  ~Folder() {
    std::error_code error;
    std::filesystem::remove_all(m_path, error);
  }
  Folder(Folder const&) = delete;
  Folder& operator=(Folder const&) = delete;

  std::string operator/(std::string const& name) const { return m_path + "/" + name; }
  std::string const& path() const { return m_path; }

 private:
  std::string m_path;
};

inline void writeFile(std::string const& path, std::string const& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string readFile(std::string const& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

/** A file of this apparent size that takes no space. */
inline void makeSparseFile(std::string const& path, unsigned long bytes) {
  std::ofstream(path, std::ios::binary).flush();
  ASSERT_EQ(::truncate(path.c_str(), static_cast<off_t>(bytes)), 0);
}

}  // namespace host_test
