#pragma once

#include <memory>
#include <string>

#include "pxl/Image.h"
#include "qorn/io/ImageHeader.h"
#include "qorn/io/OutputFile.h"

namespace qorn::io {

struct Format;

struct OutputOptions {
  bool isOnDisk = false;    ///< the voxels are kept in the file from the beginning; for .npy only
  bool isReplacing = true;  ///< a file at the path is replaced
  int interpretation = pxl::cGrey;
  bool (*isCancelled)() = nullptr;  ///< see OutputFile
};

/**
 * The result of a run on its way to a file, whose suffix tells the format. Everything that can be refused is refused
 * by the constructor; the file appears under its name with commit() and not before.
 */
class OutputImage {
 public:
  /**
   * `image` is saved, or a new one, all zero, where it is null. On disk the image is one of its own, with the voxels
   * of `image`, which is read piece by piece.
   * @throws FileError; RuntimeError the image can't be read
   */
  OutputImage(std::string const& path, ImageHeader const& header, OutputOptions const& options,
              std::shared_ptr<pxl::Image> image = nullptr);

  std::shared_ptr<pxl::Image> const& getImage() const { return m_image; }

  /** Writes all that isn't in the file yet. @throws FileError; ExceptionCancelation */
  void write();
  /** Gives the file its name. @throws FileError */
  void commit() { m_file.commit(); }

 private:
  Format const& m_format;
  ImageHeader m_header;
  OutputFile m_file;
  bool m_isInFile;
  std::shared_ptr<pxl::Image> m_image;
};

}  // namespace qorn::io
