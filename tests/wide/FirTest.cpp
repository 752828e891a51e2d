#include "TargetTest.h"

namespace {

using namespace wide_test;
using pxl::kernel::Kernel2D;
using pxl::kernel::Kernel3D;

class WideFir : public TargetTest {
 protected:
  template <class Kernel>
  void compareWith(char const* name, Kernel const& kernel, RandomImages const& images) {
    auto const algorithm = makeOperator(name);
    setIfAny(*algorithm, "kernel", kernel);
    compare(*algorithm, images);
  }

  template <class Kernel>
  void compareLengths(char const* name, pxl::ImageSizes sizes) {
    for (pxl::VoxelTypes const type : cTypes)
      forEachLength(type, [&](unsigned long length) {
        sizes[0] = length;
        RandomImages images(m_random, name, type, sizes, static_cast<Specials>(m_random.number(0, 2)));
        images.inPlace = m_random.number(-1, 0);
        ::setenv("PXLWORKS_WIDE_TILE", m_random.oneIn(2) ? "" : "3:20", 1);
        compareWith(name, makeRandomKernel<Kernel>(m_random), images);
      });
  }
};

constexpr char c2d[] = "FiniteImpulseResponseFilter2D", c3d[] = "FiniteImpulseResponseFilter3D";

TEST_P(WideFir, FiltersPlanes) { compareLengths<Kernel2D>(c2d, {1, 13, 2, 2, 2}); }
TEST_P(WideFir, FiltersVolumes) { compareLengths<Kernel3D>(c3d, {1, 7, 6, 2, 1}); }

// Boxes of all heights, whose rows are computed several at once, and images of all heights.
TEST_P(WideFir, FiltersWithBoxes) {
  for (long rows = 1; rows <= 6; ++rows)
    for (unsigned long height = 1; height <= 9; ++height) {
      std::vector<double> coefficients;
      for (long i = 0; i < rows * 3 * 2; ++i)
        coefficients.push_back(static_cast<double>(m_random.number(-700, 700)) / 1024);
      RandomImages const plane(m_random, c2d, pxl::cFloat, {150, height, 1, 1, 1}, Specials::cFew);
      compareWith(c2d, Kernel2D(coefficients.data(), rows, 3), plane);
      RandomImages const volume(m_random, c3d, pxl::cInteger16, {150, height, 5, 1, 1}, Specials::cFew);
      compareWith(c3d, Kernel3D(coefficients.data(), 2, rows, 3), volume);
    }
}

// The image is mirrored as often as it takes.
TEST_P(WideFir, ReachesBeyondTheImage) {
  for (bool const isInPlace : {false, true})
    for (long distance : {2L, 7L, 40L, 901L})
      for (unsigned long size : {1UL, 2UL, 5UL, 40UL}) {
        RandomImages images(m_random, c3d, pxl::cDouble, {size, size, size, 1, 1}, Specials::cNone);
        images.inPlace = isInPlace ? 0 : -1;
        ::setenv("PXLWORKS_WIDE_TILE", isInPlace ? "2:2" : "", 1);
        // The other runner keeps a box of rows, so that only one direction is far.
        for (int direction = 0; direction < 3; ++direction) {
          long const col = direction == 0 ? distance : 1, row = direction == 1 ? distance : 2;
          long const plan = direction == 2 ? distance : 1;
          compareWith(
              c3d, Kernel3D({{col, -1, 0}, {-col, 0, plan}, {0, row, 1}, {1, -row, -plan}}, {.5, .25, -.75, 1. / 3}),
              images);
        }
      }
}

// Sums beyond the range of a type, halves, and sums that aren't numbers.
TEST_P(WideFir, RoundsAndSaturates) {
  for (pxl::VoxelTypes const type : cTypes)
    for (double const factor : {.5, -.5, 1.5, 1e3, -1e3, 1e9, -1e9, 1e300, -1e300})
      for (double const second : {0., .25, -1e300}) {
        RandomImages const images(m_random, c2d, type, {100, 5, 1, 1, 1}, Specials::cMany);
        compareWith(c2d, Kernel2D({{0, 0}, {1, 0}}, {factor, second}), images);
      }
}

TEST_P(WideFir, FiltersWideRows) {
  for (char const* tile : {"", "4:333"}) {
    ::setenv("PXLWORKS_WIDE_TILE", tile, 1);
    RandomImages const images(m_random, c2d, pxl::cUnsignedInteger16, {5003, 21, 1, 1, 1}, Specials::cNone);
    compareWith(c2d, makeRandomKernel<Kernel2D>(m_random), images);
  }
}

// Rows that stand at whole cache lines, all of them or not.
TEST_P(WideFir, WritesPastCaches) {
  ::setenv("PXLWORKS_WIDE_CACHE", "0", 1);
  for (unsigned long nbCols : {64UL, 256UL, 261UL, 1000UL}) {
    pxl::ImageSizes const sizes{nbCols, 30, 1, 1, 1};
    auto const input = pxl::Image::New(pxl::cFloat, sizes), named = pxl::Image::New(pxl::cFloat, sizes),
               wide = pxl::Image::New(pxl::cFloat, sizes);
    auto* const voxels = static_cast<float*>(input->getVoxels());
    for (unsigned long i = 0; i < nbCols * 30; ++i) voxels[i] = static_cast<float>(m_random.number(-99, 99));
    auto const filter = makeOperator(c2d);
    setIfAny<pxl::ImageModel const*>(*filter, "inputImage", input.get());
    for (long rows = 2; rows <= 5; ++rows) {
      std::vector<double> const coefficients(static_cast<std::size_t>(rows * 3), 1. / 3);
      setIfAny(*filter, "kernel", Kernel2D(coefficients.data(), rows, 3));
      for (auto const& [runner, output] : {std::pair{"sse41", named.get()}, std::pair{"wide", wide.get()}}) {
        setIfAny<pxl::ImageModel*>(*filter, "outputImage", output);
        filter->setRunner(runner);
        try {
          filter->execute();
        } catch (pxl::RuntimeError const&) {
          return;  // this processor doesn't have the target
        }
      }
      EXPECT_EQ(std::memcmp(named->getVoxels(), wide->getVoxels(), nbCols * 30 * 4), 0) << nbCols << ' ' << rows;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Targets, WideFir, ::testing::ValuesIn(cTargets),
                         [](auto const& target) { return std::string(target.param); });

}  // namespace
