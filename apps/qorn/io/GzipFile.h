#pragma once

#include <zlib.h>

#include <vector>

#include "pxl/Noncopyable.h"

namespace qorn::io {

class InputFile;
class OutputFile;

/** The largest expansion factor of a deflate stream. */
constexpr unsigned long cMaxDeflateRatio = 1032;

/** The uncompressed bytes of a gzip file, read sequentially. */
class GzipReader : private pxl::Noncopyable {
 public:
  /** @throws FileError not a gzip file */
  explicit GzipReader(InputFile const& file);
  ~GzipReader();

  /** The next `count` bytes. @throws FileError the data is broken or ends too soon */
  void read(void* bytes, unsigned long count);
  /** Skips the next `count` bytes. @throws FileError */
  void skip(unsigned long count);
  /** At the end of the data, verifies the checksum; remaining bytes aren't read. @throws FileError */
  void finish();

 private:
  void refill();
  int step();

  InputFile const& m_file;
  unsigned long m_offset;
  std::vector<unsigned char> m_buffer;
  z_stream m_stream;
};

/** Compresses bytes into a file, from its beginning on. */
class GzipWriter : private pxl::Noncopyable {
 public:
  /** @throws FileError not enough memory */
  explicit GzipWriter(OutputFile const& file);
  ~GzipWriter();

  /** @throws FileError, ExceptionCancelation */
  void write(void const* bytes, unsigned long count);
  /** Writes the remaining data and the checksum. @throws FileError */
  void finish();

 private:
  void step(int flush);

  OutputFile const& m_file;
  unsigned long m_offset;
  std::vector<unsigned char> m_buffer;
  z_stream m_stream;
};

}  // namespace qorn::io
