#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "qorn/io/FileError.h"
#include "qorn/io/ImageWriters.h"
#include "qorn/io/OutputFile.h"

namespace qorn::io {
namespace {

/** The data of the library's callbacks. Trivial types only: a longjmp skips destructors. */
struct Stream {
  OutputFile const* file;
  unsigned long offset;
  char message[160];
};

void onError(png_structp png, png_const_charp message) {
  Stream* const stream = static_cast<Stream*>(png_get_error_ptr(png));
  std::snprintf(stream->message, sizeof stream->message, "%s", message);
  png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

void onWrite(png_structp png, png_bytep bytes, png_size_t count) {
  Stream* const stream = static_cast<Stream*>(png_get_io_ptr(png));
  int const error = stream->file->tryWrite(bytes, count, stream->offset);
  if (error != 0) png_error(png, std::strerror(error));
  stream->offset += count;
}

int getColourType(Picture const& picture) {
  return (picture.isColour ? PNG_COLOR_MASK_COLOR : 0) | (picture.extra.empty() ? 0 : PNG_COLOR_MASK_ALPHA);
}

/** The rows of a picture, one by one, in the layout of the file. */
class Rows : private pxl::Noncopyable {
 public:
  Rows(ImageHeader const& header, void const* voxels)
      : m_header(header),
        m_voxels(static_cast<char const*>(voxels)),
        m_nbCols(header.sizes[pxl::cColumns]),
        m_voxelBytes(pxl::helper::getSizeOf(header.type)),
        m_isMask(isMask(header, voxels)),
        m_planes(getNbSamples(header.picture)),
        m_row(m_isMask              ? (m_nbCols + 7) / 8
              : m_planes.size() > 1 ? m_nbCols * m_planes.size() * m_voxelBytes
                                    : 0) {}

  int getBits() const { return m_isMask ? 1 : static_cast<int>(8 * m_voxelBytes); }

  unsigned char const* get(unsigned long row) {
    char const* const voxels = m_voxels + row * m_nbCols * m_voxelBytes;
    if (m_row.empty()) return reinterpret_cast<unsigned char const*>(voxels);
    auto* const bytes = reinterpret_cast<unsigned char*>(m_row.data());
    if (m_isMask) {
      packBits(reinterpret_cast<unsigned char const*>(voxels), m_nbCols, bytes);
    } else {
      unsigned long const planeBytes = m_header.sizes[pxl::cRows] * m_nbCols * m_voxelBytes;
      for (std::size_t s = 0; s < m_planes.size(); ++s) m_planes[s] = voxels + s * planeBytes;
      joinSamples(m_planes, m_nbCols, m_voxelBytes, m_row.data());
    }
    return bytes;
  }

 private:
  ImageHeader const& m_header;
  char const* m_voxels;
  unsigned long m_nbCols;
  unsigned long m_voxelBytes;
  bool m_isMask;
  std::vector<char const*> m_planes;
  std::vector<char> m_row;  ///< empty if the voxels are the row
};

/** All code between setjmp and longjmp; owns nothing that a jump would leak. */
bool encode(Stream const& stream, png_structp png, png_infop info, ImageHeader const& header, Rows& rows) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);  // the program has its own limits
  png_set_IHDR(png, info, static_cast<png_uint_32>(header.sizes[pxl::cColumns]),
               static_cast<png_uint_32>(header.sizes[pxl::cRows]), rows.getBits(), getColourType(header.picture),
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  if (rows.getBits() == 16) png_set_swap(png);
  for (unsigned long row = 0; row < header.sizes[pxl::cRows]; ++row) {
    if (!stream.file->isWanted()) return false;
    png_write_row(png, rows.get(row));
  }
  png_write_end(png, info);
  return true;
}

}  // namespace

void checkPng(std::string const& path, ImageHeader const& header) {
  bool const isOnePlan = header.rank == 2 || (getNbSamples(header.picture) > 1 && header.sizes[pxl::cPlans] == 1 &&
                                              header.sizes[pxl::cSequence] == 1);
  bool const hasType = header.type == pxl::cUnsignedInteger8 || header.type == pxl::cUnsignedInteger16;
  if (!isOnePlan || !hasType) {
    throw FileError(path, std::string("PNG holds 2-D images of uint8 and uint16, this one is ") +
                              std::to_string(header.rank) + "-D of " + pxl::helper::getNameOf(header.type));
  }
  std::vector<ExtraSamples> const& extra = header.picture.extra;
  if (extra.size() > 1 || (extra.size() == 1 && extra.front() != ExtraSamples::cAlpha)) {
    std::string samples;
    for (std::string const& name : getSampleNames(header.picture)) samples += (samples.empty() ? "" : ", ") + name;
    throw FileError(path, "PNG holds grey or RGB, with or without alpha, this picture has " + samples);
  }
}

void writePng(OutputFile const& file, ImageHeader const& header, void const* voxels) {
  Rows rows(header, voxels);
  Stream stream{&file, 0, "not enough memory"};
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &stream, onError, onWarning);
  png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
  bool isDone = false;
  if (info != nullptr) {
    png_set_write_fn(png, &stream, onWrite, nullptr);
    isDone = encode(stream, png, info, header, rows);
  }
  png_destroy_write_struct(&png, &info);
  if (!isDone) file.checkIsWanted();
  if (!isDone) throw FileError(file.getPath(), std::string("can't be written: ") + stream.message);
}

}  // namespace qorn::io
