#include <gtest/gtest.h>

#include <fstream>

#include "support/Files.h"
#include "support/Reading.h"
#include "support/Tiff.h"

namespace {

using namespace test;

class TiffRefusal : public ::testing::Test {
 protected:
  TempFolder folder;
  std::string path = folder / "image.tiff";
};

TiffLayout makeLayout(int compression = 1) {
  TiffLayout layout = makeTiffLayout(16, 16);
  layout.compression = compression;
  return layout;
}

TEST_F(TiffRefusal, PalettesAndOtherColours) {
  TiffLayout layout = makeLayout();
  layout.photometric = 3;
  writeTiff(path, layout, std::string(256, 'x'));
  expectHeaderFault(path, "has a palette: its voxels are colour numbers, not values; convert it to grey or RGB");
  layout.samples = 2;
  layout.photometric = 2;
  writeTiff(path, layout, std::string(512, 'x'));
  expectHeaderFault(path, "has 2 samples per pixel, which is too few for RGB and 0 more");
  layout.samples = 3;
  layout.photometric = 8;
  writeTiff(path, layout, std::string(768, 'x'));
  expectHeaderFault(path, "photometric interpretation 8 isn't grey or RGB");
}

TEST_F(TiffRefusal, OtherSampleTypes) {
  struct Case {
    int bits;
    int format;
    char const* what;
  };
  for (Case const& refused :
       {Case{4, 1, "unsigned integer type with 4 bits"}, Case{1, 2, "integer type with 1 bits"},
        Case{64, 1, "unsigned integer type with 64 bits"}, Case{64, 2, "integer type with 64 bits"},
        Case{16, 3, "floating point type with 16 bits"}, Case{64, 6, "complex type with 64 bits"}}) {
    SCOPED_TRACE(refused.what);
    TiffLayout layout = makeLayout();
    layout.bits = refused.bits;
    layout.format = refused.format;
    writeTiff(path, layout, std::string(2048, 'x'));
    expectHeaderFault(path, refused.what);
  }
}

TEST_F(TiffRefusal, PagesThatDiffer) {
  std::string const other = folder / "other.tiff";
  for (int const difference : {0, 1, 2}) {
    TiffLayout layout = makeLayout();
    writeTiff(path, layout, std::string(256, 'x'));
    if (difference == 0) layout.cols = 8;
    if (difference == 1) layout.rows = 8;
    if (difference == 2) layout.format = 2;
    layout.mode = "a";
    writeTiff(path, layout, std::string(256, 'x'));
    expectHeaderFault(path, "page 2: has another size or voxel type");
  }
}

TEST_F(TiffRefusal, EveryTruncation) {
  for (int const compression : {1, 5, 8, 32773}) {
    for (unsigned int const tile : {0u, 16u}) {
      TiffLayout layout = makeLayout(compression);
      layout.tile = tile;
      layout.pages = 2;
      writeTiff(path, layout, toBytes(makeValues<unsigned char>(512)));
      SCOPED_TRACE(compression);
      expectCutsRefused(path);
    }
  }
}

TEST_F(TiffRefusal, OtherFiles) {
  for (std::string const bytes : {"x", "II*", "MM", "not a TIFF file, though its name says so"}) {
    writeFile(path, bytes);
    expectHeaderFault(path, "not a TIFF file");
  }
  writeFile(path, std::string("II*\0\0\0\0\0", 8));
  EXPECT_NE(getReadFault(path), "");
}

TEST_F(TiffRefusal, RandomDamage) {
  for (int const compression : {1, 5, 8, 32773}) {
    TiffLayout layout = makeLayout(compression);
    layout.pages = 3;
    writeTiff(path, layout, toBytes(makeValues<unsigned char>(768)));
    auto const noise = makeValues<unsigned int>(3 * 300);
    auto next = noise.begin();
    auto const damage = [&next](std::string& bytes) {
      bytes[next[0] % bytes.size()] = static_cast<char>(next[1]);
      bytes[next[2] % bytes.size()] = static_cast<char>(next[1] >> 8);
      next += 3;
    };
    EXPECT_GT(countRefused(path, 300, damage), 0);
  }
}

/** A page of one strip with 64 bytes of data, whose directory can be changed. */
class TiffDirectory : public TiffRefusal {
 protected:
  TiffDirectory() {
    unsigned int const offset = getRawTiffDataOffset(9);
    entries = {{256, 4, 1, 8},      {257, 4, 1, 8}, {258, 3, 1, 8}, {259, 3, 1, 1}, {262, 3, 1, 1},
               {273, 4, 1, offset}, {277, 3, 1, 1}, {278, 4, 1, 8}, {279, 4, 1, 64}};
  }

  void set(int tag, unsigned int value) {
    for (TiffEntry& entry : entries) {
      if (entry.tag == tag) entry.value = value;
    }
  }

  void expectFault(std::string const& why) const {
    writeFile(path, makeRawTiff(entries, std::string(64, 'x')));
    expectHeaderFault(path, why);
  }

  std::vector<TiffEntry> entries;
};

TEST_F(TiffDirectory, IsReadAsItIs) {
  writeFile(path, makeRawTiff(entries, std::string(64, 'x')));
  EXPECT_EQ(getReadFault(path), "");
}

TEST_F(TiffDirectory, DeclaresNoVoxels) {
  set(256, 0);
  expectFault("");
  set(256, 8);
  set(257, 0);
  expectFault("");
}

TEST_F(TiffDirectory, DeclaresMoreThanTheFileHas) {
  set(257, 9);
  set(278, 9);
  set(279, 72);
  expectFault("the declared data isn't in the file");
  set(256, 0x7fffffff);
  set(257, 0x7fffffff);
  set(278, 0x7fffffff);
  set(279, 0xffffffff);
  expectFault("too large");
  set(256, 1000000);
  set(257, 1000000);
  set(278, 1000000);
  expectFault("the declared data isn't in the file");
  set(278, 1);
  expectFault("");
}

TEST_F(TiffDirectory, DeclaresMoreThanItsCompressionAllows) {
  set(256, 30000);
  set(257, 30000);
  set(278, 30000);
  for (unsigned int const compression : {5u, 8u, 32773u}) {
    SCOPED_TRACE(compression);
    set(259, compression);
    expectFault("the declared data isn't in the file");
  }
}

TEST_F(TiffDirectory, UsesAnUnknownCompression) {
  set(259, 4711);
  expectFault("compression method 4711");
}

TEST_F(TiffDirectory, LeadsBeyondTheFile) {
  set(273, 1000000);
  expectFault("the declared data isn't in the file");
}

TEST_F(TiffDirectory, IsItsOwnSuccessor) {
  std::string bytes = makeRawTiff(entries, std::string(64, 'x'));
  bytes[8 + 2 + 12 * 9] = 8;
  writeFile(path, bytes);
  expectHeaderFault(path, "broken list of pages");
}

TEST_F(TiffDirectory, PiecesShareTheirBytes) {
  // Two strips at the same place: the file declares 128 bytes of voxels with 64.
  unsigned int const offset = getRawTiffDataOffset(9);
  for (TiffEntry& entry : entries) {
    if (entry.tag == 257) entry.value = 1000;
    if (entry.tag == 273 || entry.tag == 279) {
      entry.count = 125;
      entry.value = offset + 64 + (entry.tag == 279 ? 500 : 0);
    }
  }
  std::string data(64, 'x');
  data += toBytes(std::vector<unsigned int>(125, offset)) + toBytes(std::vector<unsigned int>(125, 64));
  writeFile(path, makeRawTiff(entries, data));
  expectHeaderFault(path, "declares more data than the file has");
}

TEST_F(TiffRefusal, TilesThatAreTooLarge) {
  TiffLayout layout = makeLayout(8);
  layout.tile = 16;
  writeTiff(path, layout, std::string(256, 'x'));
  std::string bytes = readFile(path);
  // The entries of the tile's width and height hold 16 bit numbers; they become 65520.
  for (int const tag : {322, 323}) {
    std::string const entry = toBytes<unsigned short>({static_cast<unsigned short>(tag), 3});
    std::string::size_type const place = bytes.find(entry);
    ASSERT_NE(place, std::string::npos);
    bytes.replace(place + 8, 2, "\xf0\xff");
  }
  writeFile(path, bytes);
  expectHeaderFault(path, "a strip or tile is too large");
}

}  // namespace
