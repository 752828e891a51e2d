#include <sys/stat.h>

#include <cmath>

#include "support/Files.h"
#include "support/Neighbours.h"
#include "support/Npy.h"
#include "support/Png.h"
#include "support/Qorn.h"
#include "support/Tiff.h"

namespace {

using namespace test;

std::string const cOperators[] = {"Dilation2d", "Erosion2d"};

class Morphology : public ::testing::Test {
 protected:
  /** A good run prints nothing. */
  void run(std::vector<std::string> const& arguments) const {
    std::vector<std::string> all{"run"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    Outcome const outcome = runQorn(all);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err << ::testing::PrintToString(arguments);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "");
  }

  using Options = std::vector<std::string>;

  /** The output .npy of both operators with both neighbourhoods is that of plain loops, with each of the options. */
  template <class T>
  void expectPlainLoops(std::string const& descr, std::string const& shape, long plans, long rows, long cols,
                        int nbIterations = 1, std::vector<Options> const& ways = {{}}) const {
    auto const values = makeValues<T>(static_cast<unsigned long>(plans * rows * cols));
    std::string const bytes = makeNpy(descr, shape, values);
    writeFile(input, bytes);
    for (bool const isErosion : {false, true}) {
      for (int const neighborhood : {0, 1, 7}) {
        std::string const expected =
            makeNpy(descr, shape, applySteps(values, rows, cols, {isErosion, neighborhood}, nbIterations));
        for (Options const& options : ways) {
          SCOPED_TRACE(descr + shape + ::testing::PrintToString(options) + cOperators[isErosion] +
                       std::to_string(neighborhood) + "x" + std::to_string(nbIterations));
          Options arguments{cOperators[isErosion], input, output, "neighborhood=" + std::to_string(neighborhood),
                            "numberOfIterations=" + std::to_string(nbIterations)};
          arguments.insert(arguments.end(), options.begin(), options.end());
          run(arguments);
          EXPECT_TRUE(readFile(output) == expected);
          EXPECT_TRUE(readFile(input) == bytes);
        }
      }
    }
  }

  TempFolder folder;
  std::string input = folder / "input.npy";
  std::string output = folder / "output.npy";
};

TEST_F(Morphology, AllTypesInFiveDimensions) {
  expectPlainLoops<unsigned char>("|u1", "(2, 3, 4, 20, 37)", 24, 20, 37);
  expectPlainLoops<unsigned short>("<u2", "(2, 3, 4, 20, 37)", 24, 20, 37);
  expectPlainLoops<unsigned int>("<u4", "(2, 3, 4, 20, 37)", 24, 20, 37);
  expectPlainLoops<signed char>("|i1", "(2, 3, 4, 20, 37)", 24, 20, 37);
  expectPlainLoops<short>("<i2", "(2, 3, 4, 20, 37)", 24, 20, 37);
  expectPlainLoops<int>("<i4", "(2, 3, 4, 20, 37)", 24, 20, 37);
  expectPlainLoops<float>("<f4", "(2, 3, 4, 20, 37)", 24, 20, 37);
  expectPlainLoops<double>("<f8", "(2, 3, 4, 20, 37)", 24, 20, 37);
}

TEST_F(Morphology, TheRankIsKept) {
  expectPlainLoops<short>("<i2", "(20, 37)", 1, 20, 37);
  expectPlainLoops<short>("<i2", "(1, 20, 37)", 1, 20, 37);
  expectPlainLoops<short>("<i2", "(5, 20, 37)", 5, 20, 37);
  expectPlainLoops<short>("<i2", "(3, 5, 20, 37)", 15, 20, 37);
  expectPlainLoops<short>("<i2", "(1, 1, 1, 20, 37)", 1, 20, 37);
}

TEST_F(Morphology, SmallPlans) {
  for (long const rows : {1, 2, 3}) {
    for (long const cols : {1, 2, 15, 16, 17}) {
      std::string const shape = "(2, " + std::to_string(rows) + ", " + std::to_string(cols) + ")";
      expectPlainLoops<unsigned char>("|u1", shape, 2, rows, cols, 3);
    }
  }
}

TEST_F(Morphology, Iterations) {
  for (int const nbIterations : {2, 3, 8}) {
    expectPlainLoops<unsigned short>("<u2", "(3, 60, 70)", 3, 60, 70, nbIterations);
    expectPlainLoops<float>("<f4", "(2, 3, 2, 20, 37)", 12, 20, 37, nbIterations);
  }
  expectPlainLoops<signed char>("|i1", "(3, 60, 70)", 3, 60, 70, 40);
}

TEST_F(Morphology, OptionsChangeNothing) {
  std::vector<Options> const ways{{"--threads", "1"},
                                  {"--threads", "4"},
                                  {"--in-place"},
                                  {"--in-place", "--max-extra-memory", "0"},
                                  {"--in-place", "--output-type", "int16"},
                                  {"--on-disk"},
                                  {"--on-disk", "--max-extra-memory", "0", "--threads", "3"},
                                  {"--max-extra-memory", "0"},
                                  {"--max-extra-memory", "1"},
                                  {"--max-extra-memory", "4G"},
                                  {"--interpretation", "binary"},
                                  {"--output-type", "int16"},
                                  {"--quiet"}};
  for (int const nbIterations : {1, 3})
    expectPlainLoops<short>("<i2", "(3, 300, 210)", 3, 300, 210, nbIterations, ways);
}

TEST_F(Morphology, OtherTypesOfTheOutput) {
  unsigned long const count = 3 * 30 * 37;
  auto const values = makeValues<int>(count);
  std::vector<double> reals(count);
  for (unsigned long i = 0; i < count; ++i) reals[i] = values[i] / 8192.0 + (i % 3 == 0 ? 0.5 : 0);
  writeFile(input, makeNpy("<f8", "(3, 30, 37)", reals));
  for (int const nbIterations : {1, 3}) {
    for (bool const isErosion : {false, true}) {
      auto const result = applySteps(reals, 30, 37, {isErosion, 1}, nbIterations);
      std::vector<unsigned char> narrow(count);
      std::vector<short> half(count);
      std::vector<float> single(count);
      bool isSaturated = false;
      for (unsigned long i = 0; i < count; ++i) {
        double const rounded = std::nearbyint(result[i]);  // half to even
        isSaturated = isSaturated || rounded > 255 || rounded < 0;
        narrow[i] = static_cast<unsigned char>(std::min(std::max(rounded, 0.0), 255.0));
        half[i] = static_cast<short>(std::min(std::max(rounded, -32768.0), 32767.0));
        single[i] = static_cast<float>(result[i]);
      }
      EXPECT_TRUE(isSaturated);
      for (std::vector<std::string> const& more :
           {std::vector<std::string>{}, {"--on-disk"}, {"--max-extra-memory=0"}}) {
        std::vector<std::string> arguments{
            cOperators[isErosion], input, output, "numberOfIterations=" + std::to_string(nbIterations),
            "--output-type",       ""};
        arguments.insert(arguments.end(), more.begin(), more.end());
        arguments[5] = "uint8";
        run(arguments);
        EXPECT_TRUE(readFile(output) == makeNpy("|u1", "(3, 30, 37)", narrow));
        arguments[5] = "int16";
        run(arguments);
        EXPECT_TRUE(readFile(output) == makeNpy("<i2", "(3, 30, 37)", half));
        arguments[5] = "float32";
        run(arguments);
        EXPECT_TRUE(readFile(output) == makeNpy("<f4", "(3, 30, 37)", single));
      }
    }
  }
}

TEST_F(Morphology, FromAndToEveryFormat) {
  auto const values = makeValues<unsigned short>(30 * 37);
  std::string const bytes = toBytes(applySteps(values, 30, 37, {false, 1}, 1));
  writeFile(folder / "input.npy", makeNpy("<u2", "(30, 37)", values));
  writePng(folder / "input.png", 37, 30, 16, 0, toBytes(values, true));
  TiffLayout layout = makeTiffLayout(37, 30);
  layout.bits = 16;
  layout.mode = "wb";
  writeTiff(folder / "input.tif", layout, toBytes(values));
  for (std::string const from : {"npy", "png", "tif"}) {
    for (std::string const more : {"--quiet", "--in-place"}) {
      SCOPED_TRACE(from + more);
      run({"Dilation2d", folder / ("input." + from), folder / "o.npy", more});
      EXPECT_TRUE(readFile(folder / "o.npy") == makeNpyHeader(makeNpyDictionary("<u2", "(30, 37)")) + bytes);
      run({"Dilation2d", folder / ("input." + from), folder / "o.tiff", more});
      EXPECT_TRUE(readTiff(folder / "o.tiff").voxels == bytes);
      EXPECT_EQ(readTiff(folder / "o.tiff").layout.description, "");
      run({"Dilation2d", folder / ("input." + from), folder / "o.png", more});
      std::string swapped = readPng(folder / "o.png").rowBytes;
      for (std::size_t i = 0; i < swapped.size(); i += 2) std::swap(swapped[i], swapped[i + 1]);
      EXPECT_TRUE(swapped == bytes);
    }
  }
}

TEST_F(Morphology, FiveDimensionsThroughTiff) {
  auto const values = makeValues<float>(2 * 3 * 4 * 20 * 37);
  writeFile(input, makeNpy("<f4", "(2, 3, 4, 20, 37)", values));
  run({"Erosion2d", input, folder / "a.tif"});
  TiffContent const content = readTiff(folder / "a.tif");
  EXPECT_EQ(content.layout.description, "{\"shape\":[2,3,4,20,37]}");
  EXPECT_EQ(content.layout.pages, 24u);
  EXPECT_TRUE(content.voxels == toBytes(applySteps(values, 20, 37, {true, 1}, 1)));
  run({"Erosion2d", folder / "a.tif", output});
  EXPECT_TRUE(readFile(output) == makeNpy("<f4", "(2, 3, 4, 20, 37)", applySteps(values, 20, 37, {true, 1}, 2)));
}

TEST_F(Morphology, NoIterationsLeaveZerosAndOneWarning) {
  writeFile(input, makeNpy("<i2", "(3, 5, 7)", makeValues<short>(105)));
  for (std::string const& name : cOperators) {
    for (std::string const more : {"--max-extra-memory=0", "--on-disk", "--quiet"}) {
      Outcome const outcome = runQorn({"run", name, input, output, "numberOfIterations=0", more});
      EXPECT_EQ(outcome.exitCode, 0);
      EXPECT_EQ(outcome.out, "");
      EXPECT_EQ(outcome.err, "qorn: " + name + ": with 0 iterations the output image is left unchanged\n");
      EXPECT_EQ(readFile(output), makeNpy("<i2", "(3, 5, 7)", std::vector<short>(105, 0)));
    }
    Outcome const outcome = runQorn({"run", name, input, output, "numberOfIterations=0", "--in-place"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1);
    EXPECT_EQ(readFile(output), readFile(input)) << "the image that is left as it is was the input";
  }
}

TEST_F(Morphology, TooManyIterationsOfABinaryImage) {
  writeFile(input, makeNpy("|u1", "(5, 7)", makeValues<unsigned char>(35)));
  struct Limit {
    char const* name;
    int neighborhood;
    int maxNbIterations;
  };
  for (Limit const& limit :
       {Limit{"Dilation2d", 0, 41}, {"Dilation2d", 1, 34}, {"Erosion2d", 0, 50}, {"Erosion2d", 1, 37}}) {
    std::string const neighborhood = "neighborhood=" + std::to_string(limit.neighborhood);
    std::string const most = "numberOfIterations=" + std::to_string(limit.maxNbIterations);
    std::string const more = "numberOfIterations=" + std::to_string(limit.maxNbIterations + 1);
    SCOPED_TRACE(limit.name + neighborhood);
    run({limit.name, input, output, neighborhood, most, "--interpretation=binary"});
    run({limit.name, input, output, neighborhood, more, "--interpretation=grey"});
    run({limit.name, input, output, "neighborhood=2", more, "--interpretation=binary"});
    ASSERT_EQ(::remove(output.c_str()), 0);
    expectFailure(
        runQorn({"run", limit.name, input, output, neighborhood, more, "--interpretation=binary", "--runner=sse41"}),
        1, limit.name,
        "with a binary image numberOfIterations can be at most " + std::to_string(limit.maxNbIterations) + " (" +
            neighborhood + "), and is " + std::to_string(limit.maxNbIterations + 1));
    EXPECT_EQ(listFolder(folder / ""), std::vector<std::string>{"input.npy"});

    // Other runners have no such limit.
    run({limit.name, input, output, neighborhood, more, "--interpretation=grey"});
    std::string const expected = readFile(output);
    run({limit.name, input, output, neighborhood, more, "--interpretation=binary"});
    EXPECT_EQ(readFile(output), expected);
    ASSERT_EQ(::remove(output.c_str()), 0);
  }
}

TEST_F(Morphology, InPlaceLeavesTheInputFileAlone) {
  auto const values = makeValues<unsigned char>(300 * 200);
  writeFile(input, makeNpy("|u1", "(300, 200)", values));
  struct stat before;
  ASSERT_EQ(::stat(input.c_str(), &before), 0);
  std::string const bytes = readFile(input);
  run({"Dilation2d", input, output, "numberOfIterations=3", "--in-place"});
  EXPECT_TRUE(readFile(output) == makeNpy("|u1", "(300, 200)", applySteps(values, 300, 200, {false, 1}, 3)));
  struct stat after;
  ASSERT_EQ(::stat(input.c_str(), &after), 0);
  EXPECT_TRUE(readFile(input) == bytes);
  EXPECT_EQ(before.st_ino, after.st_ino);
  EXPECT_EQ(before.st_mtim.tv_sec, after.st_mtim.tv_sec);
  EXPECT_EQ(before.st_mtim.tv_nsec, after.st_mtim.tv_nsec);
  EXPECT_EQ(before.st_ctim.tv_nsec, after.st_ctim.tv_nsec);
}

TEST_F(Morphology, TheOutputMayBeTheInputFile) {
  for (std::vector<std::string> const& more :
       {std::vector<std::string>{"--quiet"}, {"--on-disk"}, {"--in-place"}, {"--max-extra-memory=0"}}) {
    auto const values = makeValues<unsigned char>(300 * 200);
    writeFile(input, makeNpy("|u1", "(300, 200)", values));
    std::vector<std::string> arguments{"Erosion2d", input, input, "numberOfIterations=3"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    run(arguments);
    EXPECT_TRUE(readFile(input) == makeNpy("|u1", "(300, 200)", applySteps(values, 300, 200, {true, 1}, 3)));
    EXPECT_EQ(listFolder(folder / ""), std::vector<std::string>{"input.npy"});
  }
}

TEST_F(Morphology, OnDiskGivesTheSameBytesAsInMemoryWithLittleMemory) {
  // 64 MiB, several times what the run on disk may take.
  writeFile(input, makeNpy("|u1", "(4, 4096, 4096)", makeValues<unsigned char>(1UL << 26)));
  std::string const inMemory = folder / "in_memory.npy";
  run({"Erosion2d", input, inMemory, "numberOfIterations=3"});
  std::string const expected = readFile(inMemory);
  for (char const* temporary : {"true", "false"}) {
    std::string const setting = std::string("--setting=PXL_RECURSIVITY_TMP_DISK_IMAGE=") + temporary;
    Outcome const outcome =
        runQorn({"run", "Erosion2d", input, output, "numberOfIterations=3", "--on-disk", setting});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    expectLittleMemory(outcome);
    EXPECT_TRUE(readFile(output) == expected) << setting;
  }
}

TEST_F(Morphology, OnDiskMeansLittleMemory) {
  writeFile(input, makeNpyHeader(makeNpyDictionary("|u1", "(16, 4096, 4096)")));
  resizeFile(input, 128 + (1UL << 28));
  Outcome const outcome = runQorn({"run", "Dilation2d", input, output, "--on-disk", "--threads=2"});
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  expectLittleMemory(outcome);
  struct stat status;
  ASSERT_EQ(::stat(output.c_str(), &status), 0);
  EXPECT_EQ(status.st_size, 128 + (1l << 28));
}

}  // namespace
