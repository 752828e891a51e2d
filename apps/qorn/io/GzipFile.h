#pragma once

#include <zlib.h>

#include <vector>

#include "pxl/Noncopyable.h"

namespace qorn::io {

class InputFile;
class OutputFile;

/** No deflate stream holds more than this many times its own size. */
constexpr unsigned long cMaxDeflateRatio = 1032;

/** The uncompressed bytes of a gzip file, from its beginning to its end. */
class GzipReader : private pxl::Noncopyable {
 public:
  /** @throws FileError not a gzip file */
  explicit GzipReader(InputFile const& file);
  ~GzipReader();

  /** The next `count` bytes. @throws FileError broken, or ends too soon */
  void read(void* bytes, unsigned long count);
  /** Passes over the next `count` bytes. @throws FileError */
  void skip(unsigned long count);
  /** When nothing is left, checks the sum behind the data; bytes that are left aren't looked at. @throws FileError */
  void finish();

 private:
  void refill();
  int step();

  InputFile const& m_file;
  unsigned long m_offset;
  std::vector<unsigned char> m_buffer;
  z_stream m_stream;
};

/** Compresses bytes into a file from its beginning. */
class GzipWriter : private pxl::Noncopyable {
 public:
  /** @throws FileError not enough memory */
  explicit GzipWriter(OutputFile const& file);
  ~GzipWriter();

  /** @throws FileError; ExceptionCancelation */
  void write(void const* bytes, unsigned long count);
  /** Writes what is left and the check sum. @throws FileError */
  void finish();

 private:
  void step(int flush);

  OutputFile const& m_file;
  unsigned long m_offset;
  std::vector<unsigned char> m_buffer;
  z_stream m_stream;
};

}  // namespace qorn::io
