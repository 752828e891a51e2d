#include "qorn/io/WindowReader.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

#include "pxl/Exception.h"
#include "qorn/io/ByteOrder.h"
#include "qorn/io/FileError.h"
#include "qorn/io/Formats.h"
#include "qorn/io/ImageReaders.h"
#include "qorn/io/InputFile.h"
#include "qorn/io/NiftiHeader.h"
#include "qorn/io/NpyHeader.h"
#include "qorn/io/TiffPage.h"

namespace qorn::io {
namespace {

/** An open file that is read in pieces and can be cancelled. */
class CancellableFile : private pxl::Noncopyable {
 public:
  CancellableFile(std::string const& path, bool (*isCancelled)()) : m_file(path), m_isCancelled(isCancelled) {}

  InputFile const& get() const { return m_file; }

  void read(char* bytes, unsigned long count, unsigned long offset) const {
    constexpr unsigned long cPieceBytes = 1UL << 24;
    for (unsigned long done = 0; done < count; done += cPieceBytes) {
      if (m_isCancelled()) throw pxl::ExceptionCancelation();
      m_file.read(bytes + done, std::min(cPieceBytes, count - done), offset + done);
    }
  }

 private:
  InputFile m_file;
  bool (*m_isCancelled)();
};

/** The positions of voxels in a file with all voxels in C order. */
struct PlainData {
  unsigned long offset;
  bool isSwapped;
};

class PlainReader final : public WindowReader {
 public:
  PlainReader(std::unique_ptr<CancellableFile> file, ImageHeader header, PlainData const& data)
      : m_file(std::move(file)), m_header(std::move(header)), m_data(data) {}

  ImageHeader const& getHeader() const override { return m_header; }

  void read(pxl::access::Region const& region, void* voxels) const override {
    pxl::ImageSizes const& sizes = m_header.sizes;
    unsigned long const voxelBytes = pxl::helper::getSizeOf(m_header.type);
    auto const cols = static_cast<unsigned long>(region.getNbCols());
    auto const rows = static_cast<unsigned long>(region.getNbRows());
    auto const plans = static_cast<unsigned long>(region.getNbPlans());
    // Adjacent bytes of the file are read at once.
    bool const areRowsWhole = cols == sizes[pxl::cColumns];
    bool const arePlansWhole = areRowsWhole && rows == sizes[pxl::cRows];
    unsigned long const run = cols * (areRowsWhole ? rows : 1) * (arePlansWhole ? plans : 1);
    auto* target = static_cast<char*>(voxels);
    auto const stack = static_cast<unsigned long>(region.spectralSeriesBegin()) * sizes[pxl::cSequence] +
                       static_cast<unsigned long>(region.sequenceBegin());
    for (unsigned long plan = 0; plan < (arePlansWhole ? 1 : plans); ++plan) {
      for (unsigned long row = 0; row < (areRowsWhole ? 1 : rows); ++row) {
        unsigned long const inStack = (static_cast<unsigned long>(region.plansBegin()) + plan) * sizes[pxl::cRows] +
                                      static_cast<unsigned long>(region.rowsBegin()) + row;
        unsigned long const voxel =
            (stack * sizes[pxl::cPlans] * sizes[pxl::cRows] + inStack) * sizes[pxl::cColumns] +
            static_cast<unsigned long>(region.colsBegin());
        m_file->read(target, run * voxelBytes, m_data.offset + voxel * voxelBytes);
        target += run * voxelBytes;
      }
    }
    if (m_data.isSwapped && voxelBytes > 1) {
      swapBytes(static_cast<char*>(voxels), cols * rows * plans, voxelBytes);
    }
  }

 private:
  std::unique_ptr<CancellableFile> m_file;
  ImageHeader m_header;
  PlainData m_data;
};

/** Uncompressed strips and tiles, read without the library. */
class TiffWindows final : public WindowReader {
 public:
  explicit TiffWindows(std::unique_ptr<CancellableFile> file)
      : m_file(std::move(file)), m_header(readTiffImageHeader(m_file->get())) {
    TiffFile tiff(m_file->get());
    m_isSwapped = TIFFIsByteSwapped(tiff.get()) != 0;
    do {
      checkIsPlain(tiff);
      TiffPage const page = readTiffPage(tiff);
      m_pages.push_back({page.pieces.cols, page.pieces.rows, m_offsets.size()});
      for (unsigned long i = 0; i < page.pieces.count; ++i) {
        m_offsets.push_back(TIFFGetStrileOffset(tiff.get(), static_cast<std::uint32_t>(i)));
      }
    } while (tiff.nextPage());
  }

  ImageHeader const& getHeader() const override { return m_header; }

  void read(pxl::access::Region const& region, void* voxels) const override {
    auto const planBytes = static_cast<unsigned long>(region.getNbCols() * region.getNbRows()) * getVoxelBytes();
    auto* target = static_cast<char*>(voxels);
    auto const stack = static_cast<unsigned long>(region.spectralSeriesBegin()) * m_header.sizes[pxl::cSequence] +
                       static_cast<unsigned long>(region.sequenceBegin());
    for (long plan = region.plansBegin(); plan < region.plansEnd(); ++plan, target += planBytes) {
      readPage(m_pages.at(stack * m_header.sizes[pxl::cPlans] + static_cast<unsigned long>(plan)), region, target);
    }
    if (m_isSwapped && getVoxelBytes() > 1) {
      swapBytes(static_cast<char*>(voxels), region.getNumOfVoxels(), getVoxelBytes());
    }
  }

 private:
  struct Page {
    unsigned long pieceCols;
    unsigned long pieceRows;
    unsigned long firstPiece;  ///< in the list of offsets
  };

  unsigned long getVoxelBytes() const { return pxl::helper::getSizeOf(m_header.type); }

  void checkIsPlain(TiffFile const& file) const {
    std::uint16_t compression = COMPRESSION_NONE;
    std::uint16_t samples = 1;
    std::uint16_t bits = 1;
    std::uint16_t fillOrder = FILLORDER_MSB2LSB;
    TIFFGetFieldDefaulted(file.get(), TIFFTAG_COMPRESSION, &compression);
    TIFFGetFieldDefaulted(file.get(), TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(file.get(), TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(file.get(), TIFFTAG_FILLORDER, &fillOrder);
    if (compression != COMPRESSION_NONE) file.fail("is compressed; a file that is read in windows must not be");
    if (samples != 1 || bits % 8 != 0 || fillOrder != FILLORDER_MSB2LSB) {
      file.fail("has pixels that aren't one sample of whole bytes; a file that is read in windows must have these");
    }
  }

  void readPage(Page const& page, pxl::access::Region const& region, char* voxels) const {
    unsigned long const across = (m_header.sizes[pxl::cColumns] - 1) / page.pieceCols + 1;
    auto const firstRow = static_cast<unsigned long>(region.rowsBegin());
    auto const lastRow = static_cast<unsigned long>(region.rowsEnd()) - 1;
    auto const firstCol = static_cast<unsigned long>(region.colsBegin());
    auto const lastCol = static_cast<unsigned long>(region.colsEnd()) - 1;
    for (unsigned long down = firstRow / page.pieceRows; down <= lastRow / page.pieceRows; ++down) {
      for (unsigned long right = firstCol / page.pieceCols; right <= lastCol / page.pieceCols; ++right) {
        Part part;
        part.offset = m_offsets[page.firstPiece + down * across + right];
        part.rowBytes = page.pieceCols * getVoxelBytes();
        unsigned long const row = std::max(firstRow, down * page.pieceRows);
        unsigned long const col = std::max(firstCol, right * page.pieceCols);
        part.rows = std::min(lastRow, (down + 1) * page.pieceRows - 1) - row + 1;
        part.bytes = (std::min(lastCol, (right + 1) * page.pieceCols - 1) - col + 1) * getVoxelBytes();
        part.offset += (row - down * page.pieceRows) * part.rowBytes;
        part.offset += (col - right * page.pieceCols) * getVoxelBytes();
        part.targetRowBytes = (lastCol - firstCol + 1) * getVoxelBytes();
        readPart(part, voxels + (row - firstRow) * part.targetRowBytes + (col - firstCol) * getVoxelBytes());
      }
    }
  }

  /** Several rows of a piece, or of a part of its columns. */
  struct Part {
    unsigned long offset;
    unsigned long rowBytes;  ///< from row to row in the file
    unsigned long targetRowBytes;
    unsigned long rows;
    unsigned long bytes;  ///< of a row to read
  };

  void readPart(Part const& part, char* target) const {
    constexpr unsigned long cBufferBytes = 1UL << 20;
    if (part.bytes == part.rowBytes && part.bytes == part.targetRowBytes) {
      return m_file->read(target, part.rows * part.bytes, part.offset);
    }
    // Narrow tiles are read several rows at a time.
    unsigned long const atOnce = part.bytes == part.rowBytes ? std::max(1UL, cBufferBytes / part.rowBytes) : 1;
    std::vector<char> buffer(std::min(atOnce, part.rows) * part.bytes);
    for (unsigned long row = 0; row < part.rows; row += atOnce) {
      unsigned long const rows = std::min(atOnce, part.rows - row);
      m_file->read(buffer.data(), rows * part.bytes, part.offset + row * part.rowBytes);
      for (unsigned long r = 0; r < rows; ++r) {
        std::memcpy(target + (row + r) * part.targetRowBytes, buffer.data() + r * part.bytes, part.bytes);
      }
    }
  }

  std::unique_ptr<CancellableFile> m_file;
  ImageHeader m_header;
  bool m_isSwapped;
  std::vector<Page> m_pages;
  std::vector<unsigned long> m_offsets;
};

std::unique_ptr<WindowReader> openNpy(std::unique_ptr<CancellableFile> file) {
  NpyHeader const npy = readNpyHeader(file->get());
  if (npy.isFortranOrder) {
    throw FileError(file->get().getPath(), "data in Fortran order can't be read in windows");
  }
  ImageHeader header = readNpyImageHeader(file->get());
  return std::make_unique<PlainReader>(std::move(file), std::move(header), PlainData{npy.dataOffset, npy.isSwapped});
}

std::unique_ptr<WindowReader> openNifti(std::unique_ptr<CancellableFile> file) {
  ImageHeader header = readNiftiImageHeader(file->get());
  PlainData const data{header.nifti->dataOffset, header.nifti->isSwapped};
  return std::make_unique<PlainReader>(std::move(file), std::move(header), data);
}

std::unique_ptr<WindowReader> openTiff(std::unique_ptr<CancellableFile> file) {
  return std::make_unique<TiffWindows>(std::move(file));
}

struct WindowFormat {
  std::string_view suffix;
  std::unique_ptr<WindowReader> (*open)(std::unique_ptr<CancellableFile> file);
};

constexpr WindowFormat cFormats[] = {{".npy", openNpy}, {".tif", openTiff}, {".tiff", openTiff}, {".nii", openNifti}};

}  // namespace

std::unique_ptr<WindowReader> WindowReader::open(std::string const& path, bool (*isCancelled)()) {
  auto file = std::make_unique<CancellableFile>(path, isCancelled);
  std::string_view const suffix = findFormat(path).suffix;
  for (WindowFormat const& format : cFormats)
    if (format.suffix == suffix) return format.open(std::move(file));
  throw FileError(path, "compressed files can't be read in windows");
}

}  // namespace qorn::io
