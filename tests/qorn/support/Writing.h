#pragma once

#include "qorn/io/OutputImage.h"
#include "support/Reading.h"

namespace test {

using Shape = std::vector<unsigned long>;

inline unsigned long countVoxels(Shape const& shape) {
  unsigned long count = 1;
  for (unsigned long const size : shape) count *= size;
  return count;
}

/** "(2, 3, 4)" or, as JSON has it, "[2,3,4]". */
inline std::string toText(Shape const& shape, bool isJson = false) {
  std::string text;
  for (unsigned long const size : shape) text += (text.empty() ? "" : isJson ? "," : ", ") + std::to_string(size);
  return (isJson ? "[" : "(") + text + (isJson ? "]" : ")");
}

/** `count` voxels of any type as bytes; every byte varies. */
inline std::string makeVoxels(TypeNames const& names, unsigned long count) {
  return toBytes(makeValues<unsigned char>(count * static_cast<unsigned long>(names.bits) / 8));
}

/** The header of an array of this shape, without the name of the format. */
inline qorn::io::ImageHeader makeHeader(TypeNames const& names, Shape const& shape) {
  return qorn::io::makeHeader("test", names.type, shape, false);
}

/** Saves these voxels in the format of the suffix. @throws FileError */
inline void saveImage(std::string const& path, TypeNames const& names, Shape const& shape, std::string const& voxels,
                      qorn::io::OutputOptions const& options = {}) {
  qorn::io::OutputImage output(path, makeHeader(names, shape), options);
  pxl::Image& image = *output.getImage();
  if (options.isOnDisk) {
    unsigned long const nbCols = shape.back();
    for (unsigned long i = 0; i < countVoxels(shape); i += nbCols) {
      unsigned long position[pxl::cNbComponents] = {};
      unsigned long rest = i / nbCols;
      for (std::size_t d = 1; d < shape.size(); rest /= shape[shape.size() - 1 - d], ++d) {
        position[d] = rest % shape[shape.size() - 1 - d];
      }
      ASSERT_TRUE(image.getSource().storage->writeRun(voxels.data() + i * static_cast<unsigned long>(names.bits) / 8,
                                                      nbCols, position));
    }
  } else {
    ASSERT_EQ(getVoxelBytes(image), std::string(voxels.size(), '\0')) << "a fresh image is zero";
    std::memcpy(image.getVoxels(), voxels.data(), voxels.size());
  }
  output.write();
  output.commit();
}

/** The text of the error that saving an image raises, without the path; empty if there is none. */
inline std::string getSaveFault(std::string const& path, TypeNames const& names, Shape const& shape,
                                qorn::io::OutputOptions const& options = {}) {
  std::string const text =
      getFileFault(path, [&] { saveImage(path, names, shape, makeVoxels(names, countVoxels(shape)), options); });
  EXPECT_EQ(text.find(path), std::string::npos) << "the path is told twice: " << text;
  return text;
}

}  // namespace test
