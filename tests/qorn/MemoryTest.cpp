// Runs in windows that fit into a given memory: the same file as without, and no more memory than that.
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <limits>

#include "support/Files.h"
#include "support/Nifti.h"
#include "support/Npy.h"
#include "support/Qorn.h"
#include "support/Refusal.h"
#include "support/Tiff.h"

namespace {

using namespace test;

class Memory : public ::testing::Test {
 protected:
  Outcome run(std::vector<std::string> const& command, std::vector<std::string> const& images,
              std::vector<std::string> const& more = {}, Program::Options const& options = {}) const {
    std::vector<std::string> arguments{"run", command[0]};
    arguments.insert(arguments.end(), images.begin(), images.end());
    arguments.insert(arguments.end(), command.begin() + 1, command.end());
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runQorn(arguments, options);
  }

  /** Checks that runs with each of these memories write the file that a run without writes. */
  void expectSame(std::vector<std::string> const& command, std::string const& from, std::string const& to,
                  std::vector<std::string> const& memories, std::vector<std::string> more = {}) const {
    std::string const whole = folder / ("whole-" + to), parts = folder / ("parts-" + to);
    Outcome const expected = run(command, {from, whole}, more);
    ASSERT_EQ(expected.exitCode, 0) << expected.err;
    more.push_back("--memory");
    for (std::string const& memory : memories) {
      SCOPED_TRACE(command[0] + " to " + to + ", memory " + memory);
      more.push_back(memory);
      Outcome const outcome = run(command, {from, parts}, more);
      more.pop_back();
      ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
      EXPECT_EQ(outcome.err, expected.err);
      EXPECT_TRUE(readFile(parts) == readFile(whole));
    }
  }

  TempFolder folder;
  std::string input = folder / "input.npy", output = folder / "output.npy";
};

TEST_F(Memory, GivesTheSameForOperators) {
  writeFile(input, makeNpy("<u2", "(2, 3, 7, 19, 23)", makeValues<unsigned short>(2 * 3 * 7 * 19 * 23)));
  for (std::vector<std::string> const& command : std::vector<std::vector<std::string>>{
           {"Dilation2d", "numberOfIterations=3"},
           {"Dilation2d", "numberOfIterations=0"},
           {"Erosion3d", "numberOfIterations=2", "neighborhood=0"},
           {"DilationBall3d", "radius=2"},
           {"ErosionDisk2d", "radius=3", "shapeMode=1"},
           {"DilationLine3d", "lineSize=6", "firstAngle=20", "secondAngle=40"},
           {"ErosionDisk3d", "radius=2", "firstAngle=70", "secondAngle=-30"},
           {"FiniteImpulseResponseFilter2D", "kernel=1 2 3 4 5 6", "--kernel-origin=0,0"},
           {"FiniteImpulseResponseFilter3D", "kernel=1 2; 3 4|5 6; 7 8", "--kernel-origin=1,1,0"},
           {"Open", "element=line(4, 30)"},
           {"Gradient", "element=box(2, 3, 4)"},
           {"LogicalOperationWithValue", "value=4711"}})
    expectSame(command, input, "out.npy", {"6K", "20000", "1M"});
  expectSame({"Dilation3d"}, input, "out.npy", {"6K", "20000"}, {"--crop", "2:20,3:18,1:6,1:3,1:2"});
  expectSame({"Dilation2d"}, input, "out.npy", {"6K"}, {"--output-type", "float64"});
  // The output has another type than the input.
  writeFile(input, makeNpy("<i2", "(3, 19, 23)", makeValues<short>(3 * 19 * 23)));
  expectSame({"WhiteTopHat", "element=ball(1)"}, input, "out.npy", {"6K", "1M"});
}

// Several passes to integers: NaN makes the result depend on the extra memory, and so alike in windows.
TEST_F(Memory, GivesTheSameForNotANumber) {
  std::vector<float> values;
  for (int const value : makeValues<int>(5 * 20 * 30)) {
    values.push_back(value % 4 == 0 ? std::numeric_limits<float>::quiet_NaN() : static_cast<float>(value & 255));
  }
  writeFile(input, makeNpy("<f4", "(5, 20, 30)", values));
  for (char const* extra : {"0", "12000", "12001", "1G"}) {
    expectSame({"Erosion2d", "numberOfIterations=2"}, input, "out.npy", {"8K", "20K"},
               {"--output-type", "uint8", "--max-extra-memory", extra});
  }
}

TEST_F(Memory, ReadsAndWritesFormats) {
  auto const values = makeValues<unsigned short>(5 * 20 * 37);
  writeFile(folder / "big.npy", makeNpy(">u2", "(5, 20, 37)", values));
  std::vector<std::string> inputs{"big.npy"};
  for (bool const isBigEndian : {false, true}) {
    NiftiStart const start({37, 20, 5}, 512, 16, isBigEndian);
    inputs.push_back(isBigEndian ? "big.nii" : "little.nii");
    writeFile(folder / inputs.back(), start.getBytes() + toBytes(values, isBigEndian));
  }
  TiffLayout layout = makeTiffLayout(37, 20, 5);
  layout.bits = 16;
  for (unsigned int const tile : {0u, 16u}) {
    for (char const* mode : {"wl", "wb", "w8"}) {
      layout.tile = tile;
      layout.mode = mode;
      inputs.push_back(std::string(mode) + std::to_string(tile) + ".tif");
      writeTiff(folder / inputs.back(), layout, toBytes(values));
    }
  }
  for (std::string const& name : inputs) {
    SCOPED_TRACE(name);
    expectSame({"Dilation3d"}, folder / name, "out.npy", {"4K", "30K"});
    expectSame({"Dilation3d"}, folder / name, "cropped.npy", {"4K"}, {"--crop", "15:34,3:18,1:4"});
  }
  for (char const* to : {"out.tif", "out.nii", "out.nii.gz"})
    expectSame({"Erosion3d"}, folder / "little.nii", to, {"4K", "30K"});
  // The scale of a difference has no intercept.
  NiftiStart scaled({37, 20, 5}, 512, 16);
  scaled.put(cNiftiSlope, 2.0f).put(cNiftiIntercept, -5.0f);
  writeFile(folder / "scaled.nii", scaled.getBytes() + toBytes(values));
  expectSame({"WhiteTopHat", "element=ball(1)"}, folder / "scaled.nii", "out.nii", {"30K"});
  expectSame({"WhiteTopHat", "element=ball(1)"}, folder / "little.nii", "out.nii", {"30K"});
  layout.pages = 1;
  writeTiff(folder / "one.tif", layout, toBytes(values));
  expectSame({"Dilation2d"}, folder / "one.tif", "out.png", {"4K"});
}

void writeLarge(std::string const& path, std::string const& shape, unsigned long bytes) {
  std::ofstream file(path, std::ios::binary);
  file << makeNpyHeader(makeNpyDictionary("|u1", shape));
  for (unsigned long i = 0; i < bytes; i += 1UL << 22) {
    auto values = makeValues<unsigned int>(1UL << 20);
    for (unsigned int& value : values) value ^= static_cast<unsigned int>(i * 2654435761UL);
    file.write(reinterpret_cast<char const*>(values.data()), 1 << 22);
  }
}

/** Whether two large files have the same bytes. */
bool areSame(std::string const& a, std::string const& b) {
  std::ifstream first(a, std::ios::binary), second(b, std::ios::binary);
  std::vector<char> one(1UL << 22), other(1UL << 22);
  while (first && second) {
    first.read(one.data(), 1 << 22);
    second.read(other.data(), 1 << 22);
    if (first.gcount() != second.gcount() || one != other) return false;
  }
  return !first && !second;
}

TEST_F(Memory, IsNotExceededByALargeImage) {
  constexpr unsigned long cLimit = 32UL << 20, cBytes = 8 * cLimit;
  writeLarge(input, "(64, 2048, 2048)", cBytes);
  std::string const expected = folder / "expected.npy", picture = folder / "output.tif";
  long const maxKilobytes = static_cast<long>((cLimit * 5 / 4 + (64UL << 20)) / 1024);
  ASSERT_EQ(run({"Dilation3d", "numberOfIterations=2"}, {input, expected}).exitCode, 0);
  for (std::string const& to : {output, picture}) {
    Outcome const outcome = run({"Dilation3d", "numberOfIterations=2"}, {input, to}, {"--memory", "32M"});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_TRUE(!hasPlainMemory() || outcome.peakKilobytes < maxKilobytes) << outcome.peakKilobytes;
    EXPECT_TRUE(to == picture || areSame(to, expected));
  }
  // What was written in TIFF is read from it, on narrow rows.
  Outcome const back =
      run({"LogicalOperationWithValue", "value=0", "logicalOperator=1"}, {picture, output}, {"--memory", "32M"});
  ASSERT_EQ(back.exitCode, 0) << back.err;
  EXPECT_TRUE(!hasPlainMemory() || back.peakKilobytes < maxKilobytes) << back.peakKilobytes;
  EXPECT_TRUE(areSame(output, expected));

  if (!hasPlainMemory()) return;
  Program::Options narrow;
  narrow.addressBytes = cBytes;  // what the image alone would take
  EXPECT_NE(run({"Dilation3d"}, {input, output}, {}, narrow).exitCode, 0);
  Outcome const limited = run({"Dilation3d", "numberOfIterations=2"}, {input, output}, {"--memory", "32M"}, narrow);
  EXPECT_EQ(limited.exitCode, 0) << limited.err;
  EXPECT_TRUE(areSame(output, expected));
}

TEST_F(Memory, IsRefusedWhereItCannotBe) {
  writeFile(input, makeNpy("<u2", "(3, 5, 7)", makeValues<unsigned short>(105)));
  auto const expectUsage = [&](std::vector<std::string> const& more, std::string const& what,
                               std::string const& why) {
    expectFailure(run({"Dilation3d"}, {input, output}, more), 2, what, why);
  };
  expectUsage({"--memory=1X"}, "--memory 1X", "");
  expectUsage({"--memory=-1"}, "--memory -1", "");
  // Of 7 columns, 3 rows and 3 plans, for input, output and a temporary image.
  expectUsage({"--memory=377"}, "--memory", "take 378 bytes");
  EXPECT_EQ(run({"Dilation3d"}, {input, output}, {"--memory=378"}).exitCode, 0);
  expectUsage({"--memory=0"}, "--memory", "bytes");
  expectUsage({"--memory=1M", "--in-place"}, "--memory", "--in-place");
  expectUsage({"--memory=1M", "--on-disk"}, "--memory", "--on-disk");
  expectUsage({"--memory=1M", "--window=1:2"}, "--memory", "--window");
  expectFailure(runQorn({"run", "IntensityExtrema", input, "--memory=1M"}), 2, "--memory", "no output image");
  std::vector<std::string> const memory{"--memory=1M"};
  std::string const other = folder / "other.npy";
  auto const expectFileFault = [&](std::string const& from, std::string const& why) {
    expectFailure(run({"Dilation2d"}, {from, output}, memory), 1, from, why);
  };
  expectFileFault(folder / "missing.npy", "No such file");
  writeFile(other, makeNpyHeader(makeNpyDictionary("<u2", "(3, 5, 7)", true)) + std::string(210, 'x'));
  expectFileFault(other, "Fortran order");
  writeFile(other, makeNpyHeader(makeNpyDictionary("<u2", "(3, 5, 7)")) + std::string(200, 'x'));
  expectFileFault(other, "declares 210 bytes");
  TiffLayout layout = makeTiffLayout(7, 5);
  layout.compression = 8;
  writeTiff(folder / "packed.tif", layout, std::string(35, 'x'));
  expectFileFault(folder / "packed.tif", "compressed");
  writeGzip(folder / "packed.nii.gz", "x");
  expectFileFault(folder / "packed.nii.gz", "compressed");
  writeFile(other, makeNpy("<u2", "(3, 5, 8)", makeValues<unsigned short>(120)));
  expectFailure(run({"LogicalOperationWithImage"}, {input, other, output}, memory), 1, "LogicalOperationWithImage",
                "differ in size");
  expectFailure(run({"Dilation2d"}, {input, folder / "output.png"}, memory), 1, folder / "output.png",
                "PNG holds 2-D");
  expectFailure(run({"Dilation2d"}, {input, folder / "output.xyz"}, memory), 1, folder / "output.xyz", "suffix");
  EXPECT_FALSE(exists(folder / "output.png"));
  expectFailure(run({"Dilation2d"}, {input, other}, {"--memory=1M", "--no-clobber"}), 1, other, "already exists");
}

// Scratch file and output each need a name there.
TEST_F(Memory, WorksWhereFilesHaveToHaveNames) {
  writeFile(input, makeNpy("<u2", "(3, 5, 7)", makeValues<unsigned short>(105)));
  std::string const expected = folder / "expected.nii", result = folder / "result.nii";
  ASSERT_EQ(run({"Dilation3d"}, {input, expected}).exitCode, 0);
  Program::Options options;
  options.prepare = [] {
    if (!refuse(cUnnamedFiles)) ::_exit(99);
  };
  Outcome const outcome = run({"Dilation3d"}, {input, result}, {"--memory=1K"}, options);
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_TRUE(readFile(result) == readFile(expected));
  EXPECT_EQ(listFolder(folder / ""), (std::vector<std::string>{"expected.nii", "input.npy", "result.nii"}));
}

TEST_F(Memory, ShowsOneProgress) {
  writeLarge(input, "(64, 1024, 1024)", 1UL << 26);
  Program::Options options;
  options.hasTerminal = true;
  std::string const text = run({"DilationBall3d", "radius=9"}, {input, output}, {"--memory=16M"}, options).err;
  int last = -1, nb = 0;
  for (std::size_t i = text.find(" %"); i != std::string::npos; i = text.find(" %", i + 1), ++nb) {
    int const percent = std::stoi(text.substr(i - 3, 3));
    EXPECT_GT(percent, last) << text;
    last = percent;
  }
  EXPECT_GT(nb, 5) << text;
}

TEST_F(Memory, EndsAtASignalAndLeavesNothing) {
  writeLarge(input, "(64, 1024, 2048)", 1UL << 27);
  for (char const* name : {"output.npy", "output.nii"}) {
    Program program(QORN_PROGRAM, {"run", "DilationBall3d", input, folder / name, "radius=20", "--memory=64M"}, {});
    ASSERT_NE(program.waitUntilHandled(SIGINT), 0u);
    program.send(SIGINT);
    Outcome const outcome = program.wait();
    EXPECT_EQ(outcome.exitCode, 130);
    EXPECT_EQ(outcome.err, "qorn: DilationBall3d: cancelled\n");
  }
  EXPECT_EQ(listFolder(folder / ""), std::vector<std::string>{"input.npy"});
}

}  // namespace
