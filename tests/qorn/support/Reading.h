#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "pxl/Image.h"
#include "qorn/io/FileError.h"
#include "qorn/io/ImageFile.h"

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

/** The text of the error that reading this file raises, without the path; empty if there is none. */
inline std::string getReadFault(std::string const& path,
                                qorn::io::ReadOptions const& options = qorn::io::ReadOptions()) {
  try {
    qorn::io::readImage(path, options);
    return std::string();
  } catch (qorn::io::FileError const& error) {
    std::string const text = error.what();
    EXPECT_EQ(text.rfind(path + ": ", 0), 0u) << text;
    return text.substr(std::min(text.size(), path.size() + 2));
  }
}

/** Checks that a file is refused for this reason, both when only its header is read and when all of it is. */
inline void expectHeaderFault(std::string const& path, std::string const& why) {
  EXPECT_NE(getReadFault(path).find(why), std::string::npos) << getReadFault(path) << " is to say: " << why;
  EXPECT_THROW(qorn::io::readImageHeader(path), qorn::io::FileError) << why;
}

}  // namespace test
