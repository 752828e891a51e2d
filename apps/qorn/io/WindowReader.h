#pragma once

#include <memory>
#include <string>

#include "pxl/Noncopyable.h"
#include "pxl/access/Region.h"
#include "qorn/io/ImageHeader.h"

namespace qorn::io {

/**
 * Reads parts of an image file that may be larger than memory: .npy in C order, uncompressed TIFF of one sample per
 * pixel, .nii, each in either byte order. Nothing is mapped.
 */
class WindowReader : private pxl::Noncopyable {
 public:
  virtual ~WindowReader() = default;

  /** `isCancelled` is called between pieces. @throws FileError the file can't be read, or is of another kind */
  static std::unique_ptr<WindowReader> open(std::string const& path, bool (*isCancelled)());

  virtual ImageHeader const& getHeader() const = 0;

  /** Reads a region of one stack, packed, in native byte order. @throws FileError, ExceptionCancelation */
  virtual void read(pxl::access::Region const& region, void* voxels) const = 0;
};

}  // namespace qorn::io
