#include <sys/stat.h>
#include <unistd.h>

#include "support/Files.h"
#include "support/Nifti.h"
#include "support/Npy.h"
#include "support/Png.h"
#include "support/Qorn.h"
#include "support/Tiff.h"

namespace {

using namespace test;

class BadInput : public ::testing::Test {
 protected:
  /** The file is refused by `run` and by `info`, at once and without much memory. */
  void expectRefused(std::string const& path, std::string const& why) const {
    SCOPED_TRACE(path);
    Program::Options options;
    if (hasPlainMemory()) options.addressBytes = 1UL << 30;
    for (std::vector<std::string> const& arguments :
         {std::vector<std::string>{"run", "IntensityExtrema", path}, {"info", path}}) {
      bool const isRun = arguments[0] == "run";
      Outcome const outcome = runQorn(arguments, options);
      if (isRun || !isRunOnly) {
        expectFailure(outcome, 1, path, why);
      } else {
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
      }
      EXPECT_LT(outcome.processorSeconds, 0.9);
      expectLittleMemory(outcome);
    }
  }
  void expectRefusedBytes(std::string const& name, std::string const& bytes, std::string const& why) const {
    writeFile(folder / name, bytes);
    expectRefused(folder / name, why);
  }

  TempFolder folder;
  bool isRunOnly = false;  ///< the header alone is good
};

TEST_F(BadInput, NoRegularFile) {
  expectRefused(folder / "missing.npy", "No such file");
  expectRefused(folder / "no/folder.npy", "No such file");
  for (std::string const suffix : {".npy", ".tif", ".png", ".nii", ".nii.gz"}) {
    std::string path = folder / ("folder" + suffix);
    ASSERT_EQ(::mkdir(path.c_str(), 0700), 0);
    expectRefused(path, "is a directory");
    path = folder / ("pipe" + suffix);
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    expectRefused(path, "not a regular file");
    path = folder / ("device" + suffix);
    ASSERT_EQ(::symlink("/dev/zero", path.c_str()), 0);
    expectRefused(path, "not a regular file");
    expectRefusedBytes("empty" + suffix, "", "is empty");
    expectRefusedBytes("short" + suffix, "x", "file");
  }
  expectFailure(runQorn({"run", "IntensityExtrema", ""}), 1, "empty path", "No such file");
  expectFailure(runQorn({"info", ""}), 1, "empty path", "No such file");
}

TEST_F(BadInput, WrongSuffix) {
  std::string const npy = makeNpy("|u1", "(2, 3)", makeValues<unsigned char>(6));
  for (std::string const name : {"image", "image.", "image.jpg", "image.npy.gz", "npy", "image.npyx"}) {
    expectRefusedBytes(name, npy, "no image format has this suffix");
  }
  expectRefusedBytes("image.png", npy, "not a PNG file");
  expectRefusedBytes("image.tif", npy, "not a TIFF file");
  expectRefusedBytes("image.nii", npy, "not a NIfTI-1 file");
  expectRefusedBytes("image.nii.gz", npy, "not a gzip file");
}

TEST_F(BadInput, NamesStayOnOneLine) {
  Outcome const outcome = runQorn({"run", "IntensityExtrema", folder / "two\nlines.npy"});
  expectFailure(outcome, 1, folder / "two lines.npy", "No such file");
}

TEST_F(BadInput, HostileNpyHeaders) {
  for (std::string const shape :
       {"(1048576, 1048576)", "(2147483647, 512)", "(-3, 4)", "(18446744073709551615, 18446744073709551615)",
        "(4294967296, 4294967296)", "(99999999999999999999999, 1)", "(65536, 65536, 65536, 65536)", "(0, 3)", "(7,)",
        "(1, 1, 1, 1, 1, 1)"}) {
    expectRefusedBytes("shape.npy", makeNpy("<f8", shape, makeValues<double>(6)), "");
  }
  std::string bytes = makeNpy("|u1", "(2, 3)", makeValues<unsigned char>(6));
  expectRefusedBytes("cut.npy", bytes.substr(0, bytes.size() - 1), "declares 6 bytes of voxels and has 5");
  expectRefusedBytes("cut.npy", bytes.substr(0, 50), "ends within its header");
  std::string version = bytes;
  version[6] = 9;
  expectRefusedBytes("version.npy", version, "version 9.0");
  std::string length = makeNpyHeader(makeNpyDictionary("|u1", "(2, 3)"), 2);
  length.replace(8, 4, "\xff\xff\xff\x7f");
  expectRefusedBytes("length.npy", length, "at most 65536");
  expectRefusedBytes("list.npy", makeNpyHeader("[1, 2, 3]"), "malformed header");
  expectRefusedBytes("long.npy", makeNpyHeader(makeNpyDictionary("|u1", "(2, 3)") + std::string(70000, ' '), 3),
                     "at most 65536");
  expectRefusedBytes("deep.npy", makeNpyHeader(std::string(60000, '{')), "malformed header");
  for (std::string const descr : {"|b1", "<i8", "<c8", "|O", "<U4"}) {
    expectRefusedBytes("type.npy", makeNpy(descr, "(2, 3)", makeValues<double>(60)), "dtype '" + descr + "'");
  }
}

TEST_F(BadInput, HostilePng) {
  expectRefusedBytes("huge.png", makePngStart(0x7fffffff, 0x7fffffff, 16), "");
  expectRefusedBytes("huge.png", makePngStart(1 << 20, 1 << 20, 8) + makePngChunk("IDAT", "x"), "is too short");
  expectRefusedBytes("wide.png", makePngStart(0x7fffffff, 1, 8) + makePngChunk("IDAT", "x"), "is too short");
  expectRefusedBytes("rgb.png", makePngStart(1 << 20, 1 << 18, 8, 2) + makePngChunk("IDAT", "x"), "is too short");
  expectRefusedBytes("bits.png", makePngStart(1 << 20, 1 << 18, 1) + makePngChunk("IDAT", "x"), "is too short");
  isRunOnly = true;
  writePng(folder / "cut.png", 64, 64, 8, 0, std::string(4096, 'x'));
  std::string const bytes = readFile(folder / "cut.png");
  expectRefusedBytes("cut.png", bytes.substr(0, bytes.size() - 20), "");
}

TEST_F(BadInput, CompressedPictureAboveTheLimit) {
  // 2^30 + 2^15 voxels, which a stream of this length might hold.
  isRunOnly = true;
  std::string const bytes = makePngStart(32768, 32769, 8) + makePngChunk("IDAT", std::string(1100000, 'x'));
  expectRefusedBytes("large.png", bytes, "at most 1073741824 are read unless --max-voxels");
  writePng(folder / "small.png", 64, 64, 8, 0, std::string(4096, 'x'));
  std::vector<std::string> arguments{"run", "IntensityExtrema", folder / "small.png", "--max-voxels", "4096"};
  EXPECT_EQ(runQorn(arguments).exitCode, 0);
  arguments.back() = "4095";
  expectFailure(runQorn(arguments), 1, folder / "small.png", "4096 voxels in compressed form; at most 4095");
}

TEST_F(BadInput, HostileNifti) {
  auto const pack = [this](std::string const& bytes) {
    writeGzip(folder / "packed", bytes);
    return readFile(folder / "packed");
  };
  NiftiStart const huge({32767, 32767, 1000}, 2, 8);
  expectRefusedBytes("huge.nii", huge.getBytes() + "x", "declares 1073676289000 bytes of voxels and has 1");
  expectRefusedBytes("huge.nii.gz", pack(huge.getBytes() + "x"), "is too short for the 1073676289000 voxels");
  expectRefusedBytes("more.nii", NiftiStart({32767, 32767, 32767}, 64, 64).getBytes(), "more than 2^40 voxels");
  expectRefusedBytes("minus.nii", NiftiStart({-1, 5}, 2, 8).getBytes(), "dimension 1 has the size -1");
  expectRefusedBytes("far.nii", NiftiStart({3, 5}, 2, 8).put(cNiftiOffset, 1e15f).getBytes(), "begin at byte");
  expectRefusedBytes("far.nii.gz", pack(NiftiStart({3, 5}, 2, 8).put(cNiftiOffset, 1e15f).getBytes()), "too short");
  expectRefusedBytes("cut.nii", NiftiStart({3, 5}, 2, 8).getBytes() + std::string(14, 'x'), "and has 14");
  expectRefusedBytes("noise.nii.gz", "\x1f\x8b" + std::string(1000, 'x'), "broken gzip data");
  isRunOnly = true;
  std::string const packed = pack(NiftiStart({300, 500}, 2, 8).getBytes() + std::string(150000, 'x'));
  expectRefusedBytes("cut.nii.gz", packed.substr(0, packed.size() - 20), "ends too soon");
  // More voxels than are read in compressed form, and a stream that might hold them as far as its length tells.
  expectRefusedBytes("large.nii.gz",
                     pack(NiftiStart({32767, 32767, 2}, 2, 8).getBytes() + toBytes(makeValues<int>(600000))),
                     "at most 1073741824 are read unless --max-voxels");
}

TEST_F(BadInput, HostileTiff) {
  unsigned int const offset = getRawTiffDataOffset(9);
  auto const make = [offset](unsigned int cols, unsigned int rows, unsigned int compression, unsigned int stripRows,
                             unsigned int stripBytes) {
    return makeRawTiff({{256, 4, 1, cols},
                        {257, 4, 1, rows},
                        {258, 3, 1, 8},
                        {259, 3, 1, compression},
                        {262, 3, 1, 1},
                        {273, 4, 1, offset},
                        {277, 3, 1, 1},
                        {278, 4, 1, stripRows},
                        {279, 4, 1, stripBytes}},
                       std::string(64, 'x'));
  };
  expectRefusedBytes("huge.tif", make(0xffffffff, 0xffffffff, 1, 0xffffffff, 0xffffffff), "");
  expectRefusedBytes("huge.tif", make(1 << 20, 1 << 20, 1, 1 << 20, 64), "isn't in the file");
  expectRefusedBytes("huge.tif", make(1 << 20, 1 << 20, 8, 1 << 20, 64), "isn't in the file");
  expectRefusedBytes("strips.tif", make(1, 0x7fffffff, 1, 1, 1), "");
  expectRefusedBytes("none.tif", make(0, 5, 1, 5, 1), "");
  isRunOnly = true;
  expectRefusedBytes("noise.tif", make(60, 60, 8, 60, 64), "broken data in strip 0");
}

}  // namespace
