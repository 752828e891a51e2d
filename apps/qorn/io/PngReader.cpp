#include <png.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "qorn/io/FileError.h"
#include "qorn/io/GzipFile.h"
#include "qorn/io/ImageReaders.h"
#include "qorn/io/InputFile.h"

namespace qorn::io {
namespace {

/** What the library's callbacks need. Plain data: a longjmp passes over its users. */
struct Stream {
  InputFile const* file;
  unsigned long offset;
  char message[160];
};

void onError(png_structp png, png_const_charp message) {
  Stream* const stream = static_cast<Stream*>(png_get_error_ptr(png));
  std::snprintf(stream->message, sizeof stream->message, "%s", message);
  png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

void onRead(png_structp png, png_bytep bytes, png_size_t count) {
  Stream* const stream = static_cast<Stream*>(png_get_io_ptr(png));
  int const fault = stream->file->tryRead(bytes, count, stream->offset);
  if (fault != 0) png_error(png, fault < 0 ? "ends too soon" : std::strerror(fault));
  stream->offset += count;
}

/**
 * Decoder of one file. The library reports errors by longjmp, which must not pass over objects with destructors: it
 * is called within guard() only, by steps that hold plain data.
 */
class Decoder : private pxl::Noncopyable {
 public:
  explicit Decoder(InputFile const& file) : m_stream{&file, 0, {}} {
    unsigned char signature[8] = {};
    if (file.getSize() >= sizeof signature) file.read(signature, sizeof signature, 0);
    if (png_sig_cmp(signature, 0, sizeof signature) != 0) throw FileError(file.getPath(), "not a PNG file");
    m_png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &m_stream, onError, onWarning);
    m_info = m_png == nullptr ? nullptr : png_create_info_struct(m_png);
    if (m_info == nullptr) {
      png_destroy_read_struct(&m_png, nullptr, nullptr);
      throw FileError(file.getPath(), "not enough memory");
    }
    png_set_read_fn(m_png, &m_stream, onRead);
  }

  ~Decoder() { png_destroy_read_struct(&m_png, &m_info, nullptr); }

  ImageHeader readHeader() {
    png_structp const png = m_png;
    png_infop const info = m_info;
    guard([png, info] {
      png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);  // the program has limits of its own
      png_read_info(png, info);
    });
    std::string const& path = m_stream.file->getPath();
    int const bits = png_get_bit_depth(m_png, m_info);
    if (png_get_color_type(m_png, m_info) != PNG_COLOR_TYPE_GRAY) {
      throw FileError(path, "has colour, a palette or alpha; only one grey sample per pixel is read");
    }
    if (bits != 8 && bits != 16) {
      throw FileError(path, "has " + std::to_string(bits) + " bits per pixel; only 8 and 16 are read");
    }
    ImageHeader const header =
        makeHeader(path, bits == 8 ? pxl::cUnsignedInteger8 : pxl::cUnsignedInteger16,
                   {png_get_image_height(m_png, m_info), png_get_image_width(m_png, m_info)}, true);
    if (getNbBytes(header) / cMaxDeflateRatio > m_stream.file->getSize()) {
      throw FileError(path, "is too short for the " + std::to_string(getNbVoxels(header)) + " voxels it declares");
    }
    return header;
  }

  /** After readHeader(). `rowBytes` is the size of a packed row. */
  void readVoxels(unsigned char* voxels, unsigned long rowBytes, unsigned long nbRows) {
    png_structp const png = m_png;
    png_infop const info = m_info;
    guard([png, info, voxels, rowBytes, nbRows] {
      if (png_get_bit_depth(png, info) == 16) png_set_swap(png);
      int const nbPasses = png_set_interlace_handling(png);
      png_read_update_info(png, info);
      for (int pass = 0; pass < nbPasses; ++pass) {
        for (unsigned long row = 0; row < nbRows; ++row) png_read_row(png, voxels + row * rowBytes, nullptr);
      }
      png_read_end(png, nullptr);
    });
  }

 private:
  template <class Step>
  void guard(Step const& step) {
    if (setjmp(png_jmpbuf(m_png)) != 0) throw FileError(m_stream.file->getPath(), m_stream.message);
    step();
  }

  Stream m_stream;
  png_structp m_png;
  png_infop m_info;
};

}  // namespace

ImageHeader readPngImageHeader(InputFile const& file) { return Decoder(file).readHeader(); }

ImageFile readPng(InputFile const& file, ReadOptions const& options) {
  if (options.isOnDisk) throw FileError(file.getPath(), "PNG data can't be used on disk; only .npy can");
  Decoder decoder(file);
  ImageHeader const header = decoder.readHeader();
  checkBeforeReading(file.getPath(), header, options);
  std::shared_ptr<pxl::Image> image = makeImage(file.getPath(), header, options.interpretation);
  decoder.readVoxels(static_cast<unsigned char*>(image->getVoxels()),
                     header.sizes[pxl::cColumns] * pxl::helper::getSizeOf(header.type), header.sizes[pxl::cRows]);
  return {header, image};
}

}  // namespace qorn::io
