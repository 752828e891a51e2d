#include "qorn/io/GzipFile.h"

#include <algorithm>

#include "qorn/io/FileError.h"
#include "qorn/io/InputFile.h"
#include "qorn/io/OutputFile.h"

namespace qorn::io {
namespace {

constexpr unsigned long cBufferBytes = 1UL << 18;
/** The bytes that are passed to the library at once; its counters have 32 bits. */
constexpr unsigned long cMaxStepBytes = 1UL << 30;
/** The bytes that are compressed between tests of the cancel flag: about ten milliseconds. */
constexpr unsigned long cCompressedStepBytes = 1UL << 19;
/** The largest window, with the header and the checksum of gzip. */
constexpr int cGzipWindow = MAX_WBITS + 16;

}  // namespace

GzipReader::GzipReader(InputFile const& file) : m_file(file), m_offset(0), m_buffer(cBufferBytes), m_stream() {
  unsigned char magic[2] = {};
  if (file.getSize() >= sizeof magic) file.read(magic, sizeof magic, 0);
  if (magic[0] != 0x1f || magic[1] != 0x8b) throw FileError(file.getPath(), "not a gzip file");
  if (inflateInit2(&m_stream, cGzipWindow) != Z_OK) throw FileError(file.getPath(), "not enough memory");
}

GzipReader::~GzipReader() { inflateEnd(&m_stream); }

void GzipReader::refill() {
  unsigned long const count = std::min(m_file.getSize() - m_offset, cBufferBytes);
  m_file.read(m_buffer.data(), count, m_offset);
  m_offset += count;
  m_stream.next_in = m_buffer.data();
  m_stream.avail_in = static_cast<uInt>(count);
}

/** Decompresses a piece: Z_OK, or Z_STREAM_END at the end of a stream, after which another one may follow. */
int GzipReader::step() {
  if (m_stream.avail_in == 0) refill();
  if (m_stream.avail_in == 0) throw FileError(m_file.getPath(), "ends too soon");
  int const result = inflate(&m_stream, Z_NO_FLUSH);
  if (result == Z_MEM_ERROR) throw FileError(m_file.getPath(), "not enough memory");
  if (result != Z_OK && result != Z_STREAM_END) throw FileError(m_file.getPath(), "broken gzip data");
  return result;
}

void GzipReader::read(void* bytes, unsigned long count) {
  unsigned char* next = static_cast<unsigned char*>(bytes);
  while (count > 0) {
    unsigned long const wanted = std::min(count, cMaxStepBytes);
    m_stream.next_out = next;
    m_stream.avail_out = static_cast<uInt>(wanted);
    int const result = step();
    unsigned long const done = wanted - m_stream.avail_out;
    next += done;
    count -= done;
    if (result == Z_STREAM_END) inflateReset(&m_stream);
  }
}

void GzipReader::skip(unsigned long count) {
  std::vector<unsigned char> bytes(std::min(count, cBufferBytes));
  for (unsigned long done = 0; count > 0; count -= done) {
    done = std::min(count, cBufferBytes);
    read(bytes.data(), done);
  }
}

void GzipReader::finish() {
  if (m_stream.total_in == 0) return;  // the stream has ended, and no other one has begun
  unsigned char byte = 0;
  m_stream.next_out = &byte;
  m_stream.avail_out = 1;
  while (m_stream.avail_out == 1 && step() != Z_STREAM_END) {
  }
}

GzipWriter::GzipWriter(OutputFile const& file) : m_file(file), m_offset(0), m_buffer(cBufferBytes), m_stream() {
  constexpr int cMemoryLevel = 8;  // the default of the library
  if (deflateInit2(&m_stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, cGzipWindow, cMemoryLevel, Z_DEFAULT_STRATEGY) !=
      Z_OK) {
    throw FileError(file.getPath(), "not enough memory");
  }
}

GzipWriter::~GzipWriter() { deflateEnd(&m_stream); }

/** Compresses all present input; with Z_FINISH also what the library buffers. */
void GzipWriter::step(int flush) {
  do {
    m_stream.next_out = m_buffer.data();
    m_stream.avail_out = static_cast<uInt>(m_buffer.size());
    deflate(&m_stream, flush);
    unsigned long const done = m_buffer.size() - m_stream.avail_out;
    m_file.write(m_buffer.data(), done, m_offset);
    m_offset += done;
  } while (m_stream.avail_out == 0);
}

void GzipWriter::write(void const* bytes, unsigned long count) {
  // The library's interface isn't const-correct; it only reads them.
  auto* next = static_cast<unsigned char*>(const_cast<void*>(bytes));
  while (count > 0) {
    m_file.checkIsWanted();
    unsigned long const part = std::min(count, cCompressedStepBytes);
    m_stream.next_in = next;
    m_stream.avail_in = static_cast<uInt>(part);
    step(Z_NO_FLUSH);
    next += part;
    count -= part;
  }
}

void GzipWriter::finish() { step(Z_FINISH); }

}  // namespace qorn::io
