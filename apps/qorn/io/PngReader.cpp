#include <png.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "qorn/io/FileError.h"
#include "qorn/io/GzipFile.h"
#include "qorn/io/ImageReaders.h"
#include "qorn/io/InputFile.h"

namespace qorn::io {
namespace {

/** The data of the library's callbacks. Trivial types only: a longjmp skips destructors. */
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
 * Decoder of one file. The library reports errors with longjmp, which must not skip destructors. So it is called only
 * within guard(), in steps that have only trivial objects.
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
      png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);  // the program has its own limits
      png_read_info(png, info);
    });
    std::string const& path = m_stream.file->getPath();
    int const bits = png_get_bit_depth(m_png, m_info);
    int const colours = png_get_color_type(m_png, m_info);
    if (colours == PNG_COLOR_TYPE_PALETTE) throw FileError(path, cPaletteAdvice);
    if (bits != 1 && bits != 8 && bits != 16) {
      throw FileError(path, "has " + std::to_string(bits) + " bits per pixel; only 1, 8 and 16 are read");
    }
    Picture picture;
    picture.isColour = (colours & PNG_COLOR_MASK_COLOR) != 0;
    if ((colours & PNG_COLOR_MASK_ALPHA) != 0) picture.extra = {ExtraSamples::cAlpha};
    picture.isOneBit = bits == 1;
    ImageHeader const header =
        makeHeader(path, bits == 16 ? pxl::cUnsignedInteger16 : pxl::cUnsignedInteger8,
                   {png_get_image_height(m_png, m_info), png_get_image_width(m_png, m_info)}, true, picture);
    unsigned long const nbBytes = bits == 1 ? getNbBytes(header) / 8 : getNbBytes(header);
    if (nbBytes / cMaxDeflateRatio > m_stream.file->getSize()) {
      throw FileError(path, "is too short for the " + std::to_string(getNbVoxels(header)) + " voxels it declares");
    }
    return header;
  }

  /** After readHeader(), to packed voxels of all samples. */
  void readVoxels(ImageHeader const& header, char* voxels) {
    png_structp const png = m_png;
    png_infop const info = m_info;
    int nbPasses = 1;
    guard([png, info, &nbPasses] {
      if (png_get_bit_depth(png, info) == 16) png_set_swap(png);
      if (png_get_bit_depth(png, info) == 1) png_set_packing(png);
      nbPasses = png_set_interlace_handling(png);
      png_read_update_info(png, info);
    });
    unsigned long const nbSamples = getNbSamples(header.picture);
    unsigned long const voxelBytes = pxl::helper::getSizeOf(header.type);
    unsigned long const nbCols = header.sizes[pxl::cColumns];
    unsigned long const nbRows = header.sizes[pxl::cRows];
    unsigned long const rowBytes = nbCols * voxelBytes;
    if (nbSamples == 1) {
      for (int pass = 0; pass < nbPasses; ++pass) readRows(voxels, rowBytes, nbRows);
    } else {
      // Each pass adds pixels to the rows of the previous ones, so interlaced pictures need all pixels at once.
      unsigned long const nbAtOnce = nbPasses > 1 ? nbRows : 1;
      std::vector<char> pixels(nbAtOnce * rowBytes * nbSamples);
      std::vector<char*> planes;
      for (unsigned long s = 0; s < nbSamples; ++s) planes.push_back(voxels + s * nbRows * rowBytes);
      for (unsigned long row = 0; row < nbRows; row += nbAtOnce) {
        for (int pass = 0; pass < nbPasses; ++pass) readRows(pixels.data(), rowBytes * nbSamples, nbAtOnce);
        separateSamples(pixels.data(), nbAtOnce * nbCols, planes, voxelBytes);
        for (char*& plane : planes) plane += nbAtOnce * rowBytes;
      }
    }
    guard([png] { png_read_end(png, nullptr); });
  }

 private:
  void readRows(char* rows, unsigned long rowBytes, unsigned long count) {
    png_structp const png = m_png;
    auto* const first = reinterpret_cast<unsigned char*>(rows);
    guard([png, first, rowBytes, count] {
      for (unsigned long row = 0; row < count; ++row) png_read_row(png, first + row * rowBytes, nullptr);
    });
  }

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
  decoder.readVoxels(header, static_cast<char*>(image->getVoxels()));
  return {header, image};
}

}  // namespace qorn::io
