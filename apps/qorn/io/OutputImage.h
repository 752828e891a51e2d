#pragma once

#include <memory>
#include <string>

#include "pxl/Image.h"
#include "qorn/io/ImageHeader.h"
#include "qorn/io/OutputFile.h"

namespace qorn::io {

struct Format;

struct OutputOptions {
  bool isOnDisk = false;    ///< the voxels are in the file from the beginning; for .npy only
  bool isReplacing = true;  ///< a file at the path is replaced
  int interpretation = pxl::cGrey;
  bool (*isCancelled)() = nullptr;  ///< see OutputFile
};

/**
 * The result of a run, which is written to a file whose suffix selects the format. The constructor checks all that
 * can be refused. The file appears under its name with commit() and not before.
 */
class OutputImage {
 public:
  /**
   * Saves `image`, or a new image of zeros if it is null. On disk the output is a separate image with the voxels of
   * `image`, which is read piece by piece.
   * @throws FileError    the file can't be written
   * @throws RuntimeError the image can't be read
   */
  OutputImage(std::string const& path, ImageHeader const& header, OutputOptions const& options,
              std::shared_ptr<pxl::Image> image = nullptr);

  std::shared_ptr<pxl::Image> const& getImage() const { return m_image; }

  /** Writes all that isn't in the file yet. @throws FileError, ExceptionCancelation */
  void write();
  /** Renames the file to its path. @throws FileError */
  void commit() { m_file.commit(); }

 private:
  Format const& m_format;
  ImageHeader m_header;
  OutputFile m_file;
  bool m_isInFile;
  std::shared_ptr<pxl::Image> m_image;
};

}  // namespace qorn::io
