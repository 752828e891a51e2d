#include "support/Files.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace test {

TempFolder::TempFolder() : m_path((std::filesystem::temp_directory_path() / "qorn-test-XXXXXX").string()) {
  if (::mkdtemp(m_path.data()) == nullptr) throw std::runtime_error("no folder for the test");
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}

void writeFile(std::string const& path, std::string const& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) throw std::runtime_error("can't write " + path);
}

std::string readFile(std::string const& path) {
  std::ostringstream bytes;
  bytes << std::ifstream(path, std::ios::binary).rdbuf();
  return bytes.str();
}

std::vector<std::string> listFolder(std::string const& path) {
  std::vector<std::string> names;
  for (auto const& entry : std::filesystem::directory_iterator(path))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

bool exists(std::string const& path) { return std::filesystem::exists(std::filesystem::symlink_status(path)); }

void resizeFile(std::string const& path, unsigned long bytes) { std::filesystem::resize_file(path, bytes); }

}  // namespace test
