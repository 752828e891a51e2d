#pragma once

#include <algorithm>
#include <string>
#include <vector>

namespace test {

/** A folder of its own for one test, removed with everything in it. */
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(TempFolder const&) = delete;
  TempFolder& operator=(TempFolder const&) = delete;

  std::string operator/(std::string const& name) const { return m_path + "/" + name; }

 private:
  std::string m_path;
};

void writeFile(std::string const& path, std::string const& bytes);
std::string readFile(std::string const& path);

/** The names in a folder, in order. */
std::vector<std::string> listFolder(std::string const& path);
bool exists(std::string const& path);

/** Cuts a file, or makes it longer with a hole that takes no space. */
void resizeFile(std::string const& path, unsigned long bytes);

/** Numbers as little-endian or big-endian bytes. */
template <class T>
std::string toBytes(std::vector<T> const& values, bool isBigEndian = false) {
  std::string bytes;
  for (T const& value : values) {
    bytes.append(reinterpret_cast<char const*>(&value), sizeof(T));
    if (isBigEndian) std::reverse(bytes.end() - sizeof(T), bytes.end());
  }
  return bytes;
}

/** `count` values of T, different from each other as far as the type allows, negative ones among them. */
template <class T>
std::vector<T> makeValues(unsigned long count) {
  std::vector<T> values(count);
  unsigned long state = 12345;
  for (T& value : values) {
    state = state * 6364136223846793005UL + 1442695040888963407UL;
    value = static_cast<T>(static_cast<int>(state >> 33) - (1 << 30));
  }
  return values;
}

}  // namespace test
