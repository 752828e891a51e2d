#include <algorithm>
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string_view>
#include <vector>

#include "qorn/io/FileError.h"
#include "qorn/io/ImageReaders.h"
#include "qorn/io/InputFile.h"
#include "qorn/io/TiffFile.h"
#include "qorn/io/TiffPage.h"

namespace qorn::io {
namespace {

/** The "shape" in the description of the present page; empty if there is none or it is malformed. */
std::vector<unsigned long> readDeclaredShape(TiffFile const& file) {
  constexpr std::size_t cMaxDescriptionBytes = 64 * 1024;
  char const* description = nullptr;
  if (TIFFGetField(file.get(), TIFFTAG_IMAGEDESCRIPTION, &description) == 0 || description == nullptr) return {};
  std::string_view const text(description);
  if (text.empty() || text.front() != '{' || text.size() > cMaxDescriptionBytes) return {};
  nlohmann::json const json = nlohmann::json::parse(text, nullptr, false);
  if (!json.is_object() || !json.contains("shape")) return {};
  std::vector<unsigned long> shape;
  if (!json["shape"].is_array()) return {};
  for (nlohmann::json const& size : json["shape"]) {
    if (!size.is_number_unsigned()) return {};
    shape.push_back(size.get<unsigned long>());
  }
  return shape;
}

/**
 * The shape of the array of all pages, for one sample. A declared shape is used only if it fits all pages: writers
 * that append pages describe each page separately, and some drop trailing sizes of 1 from the pages. A declared shape
 * also includes the samples, if the pages have several.
 */
std::vector<unsigned long> getShape(std::vector<unsigned long> declared, TiffPage const& page,
                                    unsigned long nbPages) {
  if (unsigned long const nbSamples = getNbSamples(page.picture); nbSamples > 1) {
    std::size_t const fromEnd = page.picture.isPlanar ? 3 : 1;
    if (declared.size() < 3 || declared[declared.size() - fromEnd] != nbSamples) {
      declared.clear();
    } else {
      declared.erase(declared.end() - static_cast<std::ptrdiff_t>(fromEnd));
    }
  }
  unsigned long product = 1;
  bool isFitting = declared.size() >= 2;
  for (std::size_t i = 0; isFitting && i + 2 < declared.size(); ++i) {
    isFitting = declared[i] != 0 && declared[i] <= nbPages / product;
    if (isFitting) product *= declared[i];
  }
  isFitting = isFitting && product == nbPages && declared.end()[-2] == page.rows && declared.end()[-1] == page.cols;
  if (isFitting) return declared;
  if (nbPages == 1) return {page.rows, page.cols};
  return {nbPages, page.rows, page.cols};
}

bool isLike(TiffPage const& page, unsigned long cols, unsigned long rows, pxl::VoxelTypes type,
            Picture const& picture) {
  return page.cols == cols && page.rows == rows && page.type == type && haveSameSamples(page.picture, picture);
}

/** Checks all pages before anything is allocated. */
ImageHeader readHeader(TiffFile& file) {
  std::string const& path = file.getFile().getPath();
  std::vector<unsigned long> const declared = readDeclaredShape(file);
  TiffPage const first = readTiffPage(file);
  bool isCompressed = first.isCompressed;
  unsigned long bytesInPlace = 0;
  TiffPage page = first;
  while (true) {
    for (unsigned long i = 0; i < page.pieces.count && !page.isCompressed; ++i) {
      bytesInPlace += getPieceBytes(page, i);
      // With pieces that share bytes a small file could declare a large image.
      if (bytesInPlace > file.getFile().getSize()) file.fail("declares more data than the file has");
    }
    if (!file.nextPage()) break;
    page = readTiffPage(file);
    if (!isLike(page, first.cols, first.rows, first.type, first.picture)) {
      file.fail("has another size or voxel type than the first page, or other samples");
    }
    isCompressed = isCompressed || page.isCompressed;
  }
  return makeHeader(path, first.type, getShape(declared, first, file.getPage()), isCompressed, first.picture);
}

/** Copies the part of a piece that is within the page to the planes of its samples. */
void copyPiece(TiffPage const& page, unsigned long index, char const* piece, std::vector<char*> const& planes) {
  unsigned long const voxelBytes = pxl::helper::getSizeOf(page.type);
  unsigned long const across = (page.cols - 1) / page.pieces.cols + 1;
  unsigned long const plane = index / page.pieces.countPerPlane;
  unsigned long const col = index % page.pieces.countPerPlane % across * page.pieces.cols;
  unsigned long const row = index % page.pieces.countPerPlane / across * page.pieces.rows;
  unsigned long const cols = std::min(page.pieces.cols, page.cols - col);
  unsigned long const rows = std::min(getPieceRows(page, index), page.rows - row);
  std::vector<char*> targets(planes.begin() + static_cast<std::ptrdiff_t>(plane),
                             planes.begin() + static_cast<std::ptrdiff_t>(plane + page.pieces.nbSamples));
  for (char*& target : targets) target += (row * page.cols + col) * voxelBytes;
  for (unsigned long r = 0; r < rows; ++r, piece += getPieceRowBytes(page)) {
    if (page.picture.isOneBit) {
      unpackBits(reinterpret_cast<unsigned char const*>(piece), cols,
                 reinterpret_cast<unsigned char*>(targets.front()));
    } else if (targets.size() > 1) {
      separateSamples(piece, cols, targets, voxelBytes);
    } else {
      std::memcpy(targets.front(), piece, cols * voxelBytes);
    }
    for (char*& target : targets) target += page.cols * voxelBytes;
  }
}

/** Decodes the present page to packed rows, each sample to its own plane. `buffer` is reused. */
void readPage(TiffFile const& file, TiffPage const& page, std::vector<char>& buffer,
              std::vector<char*> const& planes) {
  // Strips of one sample are already in the layout of the image.
  bool const isDirect = !page.pieces.isTiled && page.pieces.nbSamples == 1 && !page.picture.isOneBit;
  for (unsigned long i = 0; i < page.pieces.count; ++i) {
    auto const bytes = static_cast<tmsize_t>(getPieceBytes(page, i));
    auto const index = static_cast<std::uint32_t>(i);
    unsigned long const inPlane = i % page.pieces.countPerPlane;
    if (!isDirect) buffer.resize(std::max(buffer.size(), static_cast<std::size_t>(bytes)));
    char* const target =
        isDirect ? planes[i / page.pieces.countPerPlane] + inPlane * getPieceBytes(page, 0) : buffer.data();
    tmsize_t const got = page.pieces.isTiled ? TIFFReadEncodedTile(file.get(), index, target, bytes)
                                             : TIFFReadEncodedStrip(file.get(), index, target, bytes);
    if (got != bytes)
      file.fail("broken data in " + std::string(page.pieces.isTiled ? "tile " : "strip ") + std::to_string(i));
    if (!isDirect) copyPiece(page, i, target, planes);
  }
}

}  // namespace

ImageHeader readTiffImageHeader(InputFile const& file) {
  TiffFile tiff(file);
  return readHeader(tiff);
}

ImageFile readTiff(InputFile const& file, ReadOptions const& options) {
  std::string const& path = file.getPath();
  if (options.isOnDisk) throw FileError(path, "TIFF data can't be used on disk; only .npy can");
  TiffFile tiff(file);
  ImageHeader const header = readHeader(tiff);
  checkBeforeReading(path, header, options);
  std::shared_ptr<pxl::Image> image = makeImage(path, header, options.interpretation);
  unsigned long const cols = header.sizes[pxl::cColumns];
  unsigned long const rows = header.sizes[pxl::cRows];
  unsigned long const planBytes = cols * rows * pxl::helper::getSizeOf(header.type);
  char* const voxels = static_cast<char*>(image->getVoxels());
  std::vector<char> buffer;
  unsigned long const nbPages = tiff.getPage();
  std::vector<char*> planes(getNbSamples(header.picture));
  tiff.firstPage();
  for (unsigned long i = 0; i < nbPages; ++i) {
    // The pages are read a second time here: if the file has changed, they must not exceed the image.
    if (i > 0 && !tiff.nextPage()) tiff.fail("the file was changed while it was read");
    TiffPage const page = readTiffPage(tiff);
    if (!isLike(page, cols, rows, header.type, header.picture)) {
      tiff.fail("the file was changed while it was read");
    }
    for (std::size_t s = 0; s < planes.size(); ++s) planes[s] = voxels + (s * nbPages + i) * planBytes;
    readPage(tiff, page, buffer, planes);
  }
  return {header, image};
}

}  // namespace qorn::io
