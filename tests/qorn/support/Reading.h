#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "pxl/Image.h"
#include "qorn/io/FileError.h"
#include "qorn/io/ImageFile.h"
#include "support/Files.h"

namespace test {

/** The voxel types with the names that formats give them. */
struct TypeNames {
  pxl::VoxelTypes type;
  char const* npy;
  int bits;
  int tiffFormat;
};
constexpr TypeNames cAllTypes[] = {{pxl::cUnsignedInteger8, "u1", 8, 1},
                                   {pxl::cUnsignedInteger16, "u2", 16, 1},
                                   {pxl::cUnsignedInteger32, "u4", 32, 1},
                                   {pxl::cInteger8, "i1", 8, 2},
                                   {pxl::cInteger16, "i2", 16, 2},
                                   {pxl::cInteger32, "i4", 32, 2},
                                   {pxl::cFloat, "f4", 32, 3},
                                   {pxl::cDouble, "f8", 64, 3}};

/** The voxels of an image in memory, which must be packed. */
inline std::string getVoxelBytes(pxl::Image const& image) {
  pxl::ImageSizes const sizes = image.getSizes();
  pxl::ImageStrides const packed = pxl::getPackedStrides(image.getVoxelType(), sizes);
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    EXPECT_TRUE(sizes[i] == 1 || image.getStrides()[i] == packed[i]) << i;
  }
  unsigned long bytes = pxl::helper::getSizeOf(image.getVoxelType());
  for (unsigned long const size : sizes) bytes *= size;
  return std::string(static_cast<char const*>(image.getVoxels()), bytes);
}

/** The text of the error about this file that `act` raises, without the path; empty if there is none. */
template <class Act>
std::string getFileFault(std::string const& path, Act const& act) {
  try {
    act();
    return std::string();
  } catch (qorn::io::FileError const& error) {
    std::string const text = error.what();
    EXPECT_EQ(text.rfind(path + ": ", 0), 0u) << text;
    return text.substr(std::min(text.size(), path.size() + 2));
  }
}

/** That of reading it. */
inline std::string getReadFault(std::string const& path,
                                qorn::io::ReadOptions const& options = qorn::io::ReadOptions()) {
  return getFileFault(path, [&] { qorn::io::readImage(path, options); });
}

/** Checks that a file is refused for this reason, both when only its header is read and when all of it is. */
inline void expectHeaderFault(std::string const& path, std::string const& why) {
  EXPECT_NE(getReadFault(path).find(why), std::string::npos) << getReadFault(path) << " is to say: " << why;
  EXPECT_THROW(qorn::io::readImageHeader(path), qorn::io::FileError) << why;
}

/** Cuts a file to every `step`th length and expects that it is refused. */
inline void expectCutsRefused(std::string const& path, std::string::size_type step = 1) {
  std::string const bytes = readFile(path);
  for (std::string::size_type length = 1; length < bytes.size(); length += step) {
    writeFile(path, bytes.substr(0, length));
    EXPECT_NE(getReadFault(path), "") << length << " of " << bytes.size();
  }
  writeFile(path, bytes);
}

/** How many of `count` files, each changed by `damage(bytes)`, are refused. Reading must end with an image or an
 * error. */
template <class Damage>
int countRefused(std::string const& path, int count, Damage const& damage) {
  std::string const bytes = readFile(path);
  int nbRefused = 0;
  for (int i = 0; i < count; ++i) {
    std::string damaged = bytes;
    damage(damaged);
    writeFile(path, damaged);
    if (!getReadFault(path).empty()) ++nbRefused;
  }
  return nbRefused;
}

}  // namespace test
