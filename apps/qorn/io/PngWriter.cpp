#include <png.h>

#include <csetjmp>
#include <string>
#include <vector>

#include "qorn/io/FileError.h"
#include "qorn/io/ImageWriters.h"
#include "qorn/io/OutputFile.h"

namespace qorn::io {
namespace {

/** What the library's callbacks, which exceptions must not cross, leave behind. */
struct Sink {
  OutputFile const& file;
  unsigned long offset = 0;
  std::string error;
};

void onError(png_structp png, png_const_charp text) {
  Sink& sink = *static_cast<Sink*>(png_get_error_ptr(png));
  if (sink.error.empty()) sink.error = text;
  png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

void onWrite(png_structp png, png_bytep bytes, png_size_t count) {
  Sink& sink = *static_cast<Sink*>(png_get_io_ptr(png));
  bool isWritten = true;
  try {
    sink.file.write(bytes, count, sink.offset);
    sink.offset += count;
  } catch (FileError const& error) {
    sink.error = error.what();
    isWritten = false;
  }
  if (!isWritten) png_error(png, "write error");
}

/** Everything between the setjmp and a longjmp; owns nothing that a jump would leak. */
bool encode(png_structp png, png_infop info, ImageHeader const& header, png_bytepp rows) {
  if (setjmp(png_jmpbuf(png))) return false;
  bool const isWide = header.type == pxl::cUnsignedInteger16;
  png_set_IHDR(png, info, static_cast<png_uint_32>(header.sizes[pxl::cColumns]),
               static_cast<png_uint_32>(header.sizes[pxl::cRows]), isWide ? 16 : 8, PNG_COLOR_TYPE_GRAY,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  if (isWide) png_set_swap(png);
  png_write_image(png, rows);
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
  Sink sink{file, 0, {}};
  unsigned long const rowBytes = header.sizes[pxl::cColumns] * pxl::helper::getSizeOf(header.type);
  std::vector<png_bytep> rows(header.sizes[pxl::cRows]);
  // The library's interface isn't const-correct; it only reads them.
  png_bytep const first = static_cast<png_bytep>(const_cast<void*>(voxels));
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = first + i * rowBytes;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &sink, onError, onWarning);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  bool isDone = false;
  if (info) {
    png_set_write_fn(png, &sink, onWrite, nullptr);
    isDone = encode(png, info, header, rows.data());
  }
  png_destroy_write_struct(&png, &info);
  if (!isDone) throw FileError(file.getPath(), sink.error.empty() ? "not enough memory" : sink.error);
}

}  // namespace qorn::io
