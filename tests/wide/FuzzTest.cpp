#include <tbb/task_arena.h>

#include <cstdlib>
#include <iostream>

#include "Compared.h"

namespace {

using namespace wide_test;

constexpr char const* cOperators[] = {"Dilation2d",
                                      "Dilation3d",
                                      "DilationBall3d",
                                      "DilationDisk2d",
                                      "DilationDisk3d",
                                      "DilationLine2d",
                                      "DilationLine3d",
                                      "DilationElement3d",
                                      "Erosion2d",
                                      "Erosion3d",
                                      "ErosionBall3d",
                                      "ErosionDisk2d",
                                      "ErosionDisk3d",
                                      "ErosionLine2d",
                                      "ErosionLine3d",
                                      "ErosionElement3d",
                                      "LogicalOperationWithImage",
                                      "LogicalOperationWithValue",
                                      "IntensityExtrema",
                                      "FiniteImpulseResponseFilter2D",
                                      "FiniteImpulseResponseFilter3D"};

std::uint64_t getNumber(char const* name, std::uint64_t otherwise) {
  char const* const text = std::getenv(name);
  return text ? std::strtoull(text, nullptr, 10) : otherwise;
}

pxl::ImageSizes makeSizes(Random& random) {
  auto const size = [&random](long last) { return static_cast<unsigned long>(random.number(1, last)); };
  switch (random.number(0, 3)) {
    case 0:  // short rows
      return {size(9), size(40), size(5), size(2), size(2)};
    case 1:  // many bands
      return {size(70), size(600), 1, 1, 1};
    case 2:  // some vectors and one voxel
      return {static_cast<unsigned long>(64 * random.number(1, 3) + random.number(-1, 1)), size(40), size(9), 1, 1};
    default:
      return {size(150), size(60), size(12), size(2), 1};
  }
}

// PXLWORKS_TEST_SEED repeats a run, PXLWORKS_WIDE_RUNS says how many are made.
TEST(WideFuzz, GivesTheBitsOfTheOtherRunner) {
  loadPlugins();
  // Other cases each time; the seed of a failing one is printed.
  bool const isRepeated = std::getenv("PXLWORKS_TEST_SEED") != nullptr;
  std::uint64_t const seed = isRepeated ? 0 : std::random_device()();
  if (!isRepeated) std::cout << "PXLWORKS_TEST_SEED=" << seed << std::endl;
  std::uint64_t const nbRuns = getNumber("PXLWORKS_WIDE_RUNS", 2000);
  std::uint64_t nbTaken = 0;
  for (std::uint64_t run = 0; run < nbRuns; ++run) {
    Random random(seed + run);
    std::string const name = random.oneOf(cOperators);
    auto const algorithm = makeOperator(name);
    bool const isOfIntegers = name.compare(0, 7, "Logical") == 0;
    auto type = random.oneOf(cTypes);
    while (isOfIntegers && (type == pxl::cFloat || type == pxl::cDouble)) type = random.oneOf(cTypes);
    auto const specials = static_cast<Specials>(random.number(0, 2));
    RandomImages images(random, name, type, makeSizes(random), specials);
    images.inputs.front().isBinary = isOfIntegers && random.oneIn(3);
    setRandomProperties(random, *algorithm, 60);
    char const* const target = random.oneOf(cTargets);
    ::setenv("PXLWORKS_WIDE_TARGET", target, 1);
    // Tiles of the sizes that are chosen, else down to single rows, and to strips narrower than a vector.
    std::string const tile =
        random.oneIn(2) ? "" : std::to_string(random.number(1, 12)) + ":" + std::to_string(random.number(1, 80));
    ::setenv("PXLWORKS_WIDE_TILE", tile.c_str(), 1);
    ::setenv("PXLWORKS_WIDE_CACHE", random.oneIn(3) ? "1000" : "100000000", 1);
    if (random.oneIn(3)) images.inPlace = random.number(0, static_cast<long>(images.inputs.size()) - 1);
    try {
      ASSERT_TRUE(isSame(*algorithm, images)) << "run " << run << ", target " << ::getenv("PXLWORKS_WIDE_TARGET");
      ++nbTaken;
    } catch (pxl::RuntimeError const& error) {
      // A target that this processor doesn't have.
      ASSERT_NE(std::string(error.what()).find("PXLWORKS_WIDE_TARGET"), std::string::npos) << error.what();
    }
  }
  ::unsetenv("PXLWORKS_WIDE_TARGET");
  ::unsetenv("PXLWORKS_WIDE_TILE");
  ::unsetenv("PXLWORKS_WIDE_CACHE");
  std::cout << nbTaken << " of " << nbRuns << " runs compared" << std::endl;
  EXPECT_GT(nbTaken, nbRuns / 10);
}

}  // namespace
