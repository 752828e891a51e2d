#include "support/Files.h"
#include "support/Qorn.h"
#include "support/Tiff.h"

namespace {

using namespace test;

/** A small file of one page and one tile, whatever the tile's size. */
std::string makeTiledTiff(unsigned int compression, unsigned int cols, unsigned int tile) {
  unsigned int const offset = getRawTiffDataOffset(11);
  return makeRawTiff({{256, 4, 1, cols},
                      {257, 4, 1, cols},
                      {258, 3, 1, 64},
                      {259, 3, 1, compression},
                      {262, 3, 1, 1},
                      {277, 3, 1, 1},
                      {322, 4, 1, tile},
                      {323, 4, 1, tile},
                      {324, 4, 1, offset},
                      {325, 4, 1, 64},
                      {339, 3, 1, 3}},
                     std::string(64, 'x'));
}

/** Nothing of the size of a tile is allocated before the page is known to need it. */
TEST(TiffTiles, AreBoundByThePage) {
  TempFolder folder;
  std::string const path = folder / "image.tif";
  // None, LZW, JPEG, deflate, PackBits, PixarLog, LERC, LZMA, ZSTD, WebP.
  for (unsigned int const compression : {1u, 5u, 7u, 8u, 32773u, 32909u, 34887u, 34925u, 50000u, 50001u}) {
    for (unsigned int const tile : {1456u, 8192u}) {
      SCOPED_TRACE(std::to_string(compression) + " " + std::to_string(tile));
      writeFile(path, makeTiledTiff(compression, 1, tile));
      for (std::vector<std::string> const& arguments :
           {std::vector<std::string>{"run", "IntensityExtrema", path}, {"info", path}}) {
        Outcome const outcome = runQorn(arguments);
        expectFailure(outcome, 1, path, tile == 8192 ? "a strip or tile is too large" : "");
        EXPECT_LT(outcome.peakKilobytes, hasPlainMemory() ? 50 * 1024 : 1024 * 1024);
      }
    }
  }
}

/** Tiles of common sizes hold small pages too. */
TEST(TiffTiles, MayBeLargerThanThePage) {
  TempFolder folder;
  std::string const path = folder / "image.tif";
  TiffLayout layout = makeTiffLayout(3, 2);
  layout.compression = 8;
  layout.tile = 1024;
  layout.bits = 64;
  layout.format = 3;
  writeTiff(path, layout, toBytes(std::vector<double>{1, 2, 3, 4, 5, 6}));
  Outcome const outcome = runQorn({"run", "IntensityExtrema", path});
  EXPECT_EQ(outcome.out, "minimum  maximum\n      1        6\n") << outcome.err;
}

}  // namespace
