#pragma once

#include <memory>
#include <string>

#include "pxl/access/Region.h"
#include "qorn/io/OutputImage.h"

namespace qorn::io {

/**
 * A result that is written part by part and may be larger than memory. A .npy file is written in place. For all other
 * formats the voxels go to a scratch file beside the output, from which finish() makes the output.
 */
class WindowedOutput : private pxl::Noncopyable {
 public:
  /** @param options  `isCancelled` must be set. @throws FileError as OutputImage, or there isn't enough space */
  WindowedOutput(std::string const& path, ImageHeader const& header, OutputOptions const& options);
  ~WindowedOutput();

  /**
   * Writes a region of one stack, in any order of regions. Distances are in bytes.
   * @throws FileError, ExceptionCancelation
   */
  void write(pxl::access::Region const& region, char const* voxels, unsigned long rowDistance,
             unsigned long planDistance) const;

  /** Completes the output. @throws FileError, ExceptionCancelation */
  void finish();
  /** Renames the file to its path. @throws FileError */
  void commit();

 private:
  void mapScratch(std::string const& path, OutputOptions options);

  ImageHeader m_header;
  OutputFile m_file;  ///< the output or the scratch file
  unsigned long m_offset = 0;
  std::unique_ptr<OutputImage> m_output;  ///< from the scratch file; null if the output is written in place
};

}  // namespace qorn::io
