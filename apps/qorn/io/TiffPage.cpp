#include "qorn/io/TiffPage.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "pxl/Limits.h"
#include "qorn/io/InputFile.h"

namespace qorn::io {
namespace {

/** A strip may be the whole page, which the limits of images limit. */
constexpr unsigned long cMaxStripVoxels = pxl::limits::cMaxNbVoxels;
/** A tile needs memory for all of its pixels, however few are within the page: a small file could declare much. */
constexpr unsigned long cMaxTileVoxels = 1UL << 26;
constexpr unsigned long cMaxTilePages = 4;
constexpr unsigned long cMaxTileRest = 1UL << 24;  ///< bytes beyond that many times the page

pxl::VoxelTypes getVoxelType(TiffFile const& file, Picture const& picture) {
  if (picture.isOneBit) return pxl::cUnsignedInteger8;
  std::uint16_t bits = 1;
  std::uint16_t format = SAMPLEFORMAT_UINT;
  TIFFGetFieldDefaulted(file.get(), TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetFieldDefaulted(file.get(), TIFFTAG_SAMPLEFORMAT, &format);
  struct Known {
    int format;
    int bits;
    pxl::VoxelTypes type;
  };
  static constexpr Known cKnown[] = {
      {SAMPLEFORMAT_UINT, 8, pxl::cUnsignedInteger8},   {SAMPLEFORMAT_UINT, 16, pxl::cUnsignedInteger16},
      {SAMPLEFORMAT_UINT, 32, pxl::cUnsignedInteger32}, {SAMPLEFORMAT_INT, 8, pxl::cInteger8},
      {SAMPLEFORMAT_INT, 16, pxl::cInteger16},          {SAMPLEFORMAT_INT, 32, pxl::cInteger32},
      {SAMPLEFORMAT_IEEEFP, 32, pxl::cFloat},           {SAMPLEFORMAT_IEEEFP, 64, pxl::cDouble}};
  for (Known const& known : cKnown) {
    // Samples of undefined format are read as unsigned, as without the tag.
    if (known.bits == bits && known.format == (format == SAMPLEFORMAT_VOID ? SAMPLEFORMAT_UINT : format)) {
      return known.type;
    }
  }
  char const* const kind = format == SAMPLEFORMAT_UINT || format == SAMPLEFORMAT_VOID ? "unsigned integer"
                           : format == SAMPLEFORMAT_INT                               ? "integer"
                           : format == SAMPLEFORMAT_IEEEFP                            ? "floating point"
                                                                                      : "complex";
  file.fail(std::string("samples of ") + kind + " type with " + std::to_string(bits) + " bits aren't read");
}

Picture readPicture(TiffFile const& file) {
  std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
  std::uint16_t samples = 1;
  std::uint16_t extraSamples = 0;
  std::uint16_t* extraTypes = nullptr;
  std::uint32_t depth = 1;
  std::uint16_t planar = PLANARCONFIG_CONTIG;
  std::uint16_t bits = 1;
  std::uint16_t format = SAMPLEFORMAT_UINT;
  TIFFGetField(file.get(), TIFFTAG_PHOTOMETRIC, &photometric);
  TIFFGetFieldDefaulted(file.get(), TIFFTAG_SAMPLESPERPIXEL, &samples);
  TIFFGetFieldDefaulted(file.get(), TIFFTAG_EXTRASAMPLES, &extraSamples, &extraTypes);
  TIFFGetFieldDefaulted(file.get(), TIFFTAG_IMAGEDEPTH, &depth);
  TIFFGetFieldDefaulted(file.get(), TIFFTAG_PLANARCONFIG, &planar);
  TIFFGetFieldDefaulted(file.get(), TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetFieldDefaulted(file.get(), TIFFTAG_SAMPLEFORMAT, &format);
  if (photometric == PHOTOMETRIC_PALETTE) file.fail(cPaletteAdvice);
  Picture picture;
  picture.isColour = photometric == PHOTOMETRIC_RGB;
  // Stored values are kept, so both photometric interpretations of grey are read alike.
  picture.isWhiteZero = photometric == PHOTOMETRIC_MINISWHITE;
  if (!picture.isColour && !picture.isWhiteZero && photometric != PHOTOMETRIC_MINISBLACK) {
    file.fail("photometric interpretation " + std::to_string(photometric) + " isn't grey or RGB");
  }
  unsigned int const nbColours = picture.isColour ? 3 : 1;
  if (samples < nbColours + extraSamples) {
    file.fail("has " + std::to_string(samples) + " samples per pixel, which is too few for " +
              (picture.isColour ? "RGB" : "grey") + " and " + std::to_string(extraSamples) + " more");
  }
  // Some writers don't declare the meaning of the samples after the colour.
  picture.extra.assign(samples - nbColours, ExtraSamples::cUnknown);
  for (unsigned int i = 0; i < extraSamples; ++i) {
    bool const isKnown = extraTypes[i] == EXTRASAMPLE_ASSOCALPHA || extraTypes[i] == EXTRASAMPLE_UNASSALPHA;
    if (isKnown) picture.extra[picture.extra.size() - extraSamples + i] = static_cast<ExtraSamples>(extraTypes[i]);
  }
  picture.isPlanar = samples > 1 && planar == PLANARCONFIG_SEPARATE;
  picture.isOneBit = samples == 1 && bits == 1 && (format == SAMPLEFORMAT_UINT || format == SAMPLEFORMAT_VOID);
  if (depth != 1) file.fail("volumes within a page aren't read");
  return picture;
}

TiffPieces getPieces(TiffFile const& file, unsigned long cols, unsigned long rows, Picture const& picture) {
  TIFF* const tiff = file.get();
  unsigned long const nbSamples = getNbSamples(picture);
  unsigned long const nbPlanes = picture.isPlanar ? nbSamples : 1;
  if (TIFFIsTiled(tiff) != 0) {
    std::uint32_t tileCols = 0;
    std::uint32_t tileRows = 0;
    TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &tileCols);
    TIFFGetField(tiff, TIFFTAG_TILELENGTH, &tileRows);
    if (tileCols == 0 || tileRows == 0) file.fail("tiles without a size");
    unsigned long const count = TIFFNumberOfTiles(tiff);
    return {true, count, count / nbPlanes, nbSamples / nbPlanes, tileCols, tileRows};
  }
  std::uint32_t stripRows = 0;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &stripRows);
  if (stripRows == 0) file.fail("strips without rows");
  unsigned long const count = TIFFNumberOfStrips(tiff);
  return {false, count, count / nbPlanes, nbSamples / nbPlanes, cols, std::min<unsigned long>(stripRows, rows)};
}

/** The largest expansion factor of a compression; 0 if there is no useful bound. */
unsigned long getMaxRatio(std::uint16_t compression) {
  switch (compression) {
    case COMPRESSION_PACKBITS:
      return 64;  // two bytes encode at most 128
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_DEFLATE:
      return 1032;
    case COMPRESSION_LZW:
      return 4096;  // a code of at least nine bits encodes less than 4096 bytes
    default:
      return 0;
  }
}

/** The maximum number of voxels, of all samples, of a strip or tile of the page. */
unsigned long getMaxPieceVoxels(TiffPage const& page) {
  if (!page.pieces.isTiled) return cMaxStripVoxels;
  unsigned long const rowVoxels = page.cols * page.pieces.nbSamples;
  unsigned long const pageVoxels = rowVoxels > cMaxTileVoxels / page.rows ? cMaxTileVoxels : rowVoxels * page.rows;
  return std::min(cMaxTileVoxels, cMaxTilePages * pageVoxels + cMaxTileRest / pxl::helper::getSizeOf(page.type));
}

void checkPieces(TiffFile const& file, TiffPage const& page, std::uint16_t compression) {
  unsigned long const across = (page.cols - 1) / page.pieces.cols + 1;
  unsigned long const down = (page.rows - 1) / page.pieces.rows + 1;
  unsigned long const nbPlanes = getNbSamples(page.picture) / page.pieces.nbSamples;
  bool const isWhole = page.pieces.count % nbPlanes == 0 && page.pieces.countPerPlane == across * down;
  if (!isWhole) file.fail("the number of strips or tiles doesn't fit the size");
  unsigned long const fileBytes = file.getFile().getSize();
  unsigned long const maxRatio = getMaxRatio(compression);
  if (page.pieces.cols * page.pieces.nbSamples > getMaxPieceVoxels(page) / page.pieces.rows)
    file.fail("a strip or tile is too large");
  for (unsigned long i = 0; i < page.pieces.count; ++i) {
    unsigned long const bytes = getPieceBytes(page, i);
    unsigned long const offset = TIFFGetStrileOffset(file.get(), static_cast<std::uint32_t>(i));
    unsigned long const stored = TIFFGetStrileByteCount(file.get(), static_cast<std::uint32_t>(i));
    unsigned long const needed = page.isCompressed ? stored : bytes;
    bool isThere = stored != 0 && stored >= needed && needed <= fileBytes && offset <= fileBytes - needed;
    if (page.isCompressed && maxRatio != 0) isThere = isThere && bytes / maxRatio <= stored;
    if (!isThere) {
      file.fail("the declared data isn't in the file, from " + std::string(page.pieces.isTiled ? "tile " : "strip ") +
                std::to_string(i) + " on");
    }
  }
}

}  // namespace

TiffPage readTiffPage(TiffFile const& file) {
  TIFF* const tiff = file.get();
  std::uint32_t cols = 0;
  std::uint32_t rows = 0;
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &cols);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &rows);
  if (cols == 0 || rows == 0) file.fail("has no voxels");
  Picture const picture = readPicture(file);
  std::uint16_t compression = COMPRESSION_NONE;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
  if (TIFFIsCODECConfigured(compression) == 0) {
    file.fail("compression method " + std::to_string(compression) + " isn't known");
  }
  TiffPage const page{cols,
                      rows,
                      getVoxelType(file, picture),
                      picture,
                      compression != COMPRESSION_NONE,
                      getPieces(file, cols, rows, picture)};
  checkPieces(file, page, compression);
  return page;
}

unsigned long getPieceRows(TiffPage const& page, unsigned long index) {
  if (page.pieces.isTiled) return page.pieces.rows;
  return std::min(page.pieces.rows, page.rows - index % page.pieces.countPerPlane * page.pieces.rows);
}

unsigned long getPieceRowBytes(TiffPage const& page) {
  if (page.picture.isOneBit) return (page.pieces.cols + 7) / 8;
  return page.pieces.cols * page.pieces.nbSamples * pxl::helper::getSizeOf(page.type);
}

unsigned long getPieceBytes(TiffPage const& page, unsigned long index) {
  return getPieceRows(page, index) * getPieceRowBytes(page);
}

}  // namespace qorn::io
