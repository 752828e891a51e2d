#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <string>

#include "qorn/io/FileError.h"
#include "qorn/io/ImageWriters.h"
#include "qorn/io/OutputFile.h"

namespace qorn::io {
namespace {

/** What the library's callbacks need. Plain data: a longjmp passes over its users. */
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

/** Everything between the setjmp and a longjmp; owns nothing that a jump would leak. */
bool encode(Stream const& stream, png_structp png, png_infop info, ImageHeader const& header,
            unsigned char const* voxels) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  unsigned long const rowBytes = header.sizes[pxl::cColumns] * pxl::helper::getSizeOf(header.type);
  bool const isWide = header.type == pxl::cUnsignedInteger16;
  png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);  // the program has limits of its own
  png_set_IHDR(png, info, static_cast<png_uint_32>(header.sizes[pxl::cColumns]),
               static_cast<png_uint_32>(header.sizes[pxl::cRows]), isWide ? 16 : 8, PNG_COLOR_TYPE_GRAY,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  if (isWide) png_set_swap(png);
  for (unsigned long row = 0; row < header.sizes[pxl::cRows]; ++row) {
    if (!stream.file->isWanted()) return false;
    png_write_row(png, voxels + row * rowBytes);
  }
  png_write_end(png, info);
  return true;
}

}  // namespace

void checkPng(std::string const& path, ImageHeader const& header) {
  bool const isOnePlan = header.rank == 2;
  bool const hasType = header.type == pxl::cUnsignedInteger8 || header.type == pxl::cUnsignedInteger16;
  if (!isOnePlan || !hasType) {
    throw FileError(path, std::string("PNG holds 2-D images of uint8 and uint16, this one is ") +
                              std::to_string(header.rank) + "-D of " + pxl::helper::getNameOf(header.type));
  }
}

void writePng(OutputFile const& file, ImageHeader const& header, void const* voxels) {
  Stream stream{&file, 0, "not enough memory"};
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &stream, onError, onWarning);
  png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
  bool isDone = false;
  if (info != nullptr) {
    png_set_write_fn(png, &stream, onWrite, nullptr);
    isDone = encode(stream, png, info, header, static_cast<unsigned char const*>(voxels));
  }
  png_destroy_write_struct(&png, &info);
  if (!isDone) file.checkIsWanted();
  if (!isDone) throw FileError(file.getPath(), std::string("can't be written: ") + stream.message);
}

}  // namespace qorn::io
