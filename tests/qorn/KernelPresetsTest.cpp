// Kernels by their names.
#include <cmath>
#include <cstring>

#include "support/Files.h"
#include "support/Npy.h"
#include "support/Qorn.h"

namespace {

using namespace test;

class KernelPresets : public ::testing::Test {
 protected:
  /** What `size` voxels in each direction around a single 1 become, mirrored: the kernel, far from the edge. */
  std::vector<double> answer(int dimension, std::string const& kernel, long size, bool isOption = false) {
    long const side = 2 * size + 1, nbPlans = dimension == 3 ? side : 1;
    std::vector<double> voxels(static_cast<std::size_t>(nbPlans * side * side));
    voxels[voxels.size() / 2] = 1;
    std::string const rows = std::to_string(side) + ", " + std::to_string(side) + ")";
    writeFile(input, makeNpy("<f8", dimension == 3 ? "(" + std::to_string(side) + ", " + rows : "(" + rows, voxels));
    std::vector<std::string> arguments{"run", "FiniteImpulseResponseFilter" + std::to_string(dimension) + "D", input,
                                       output};
    if (isOption) arguments.push_back("--kernel");
    arguments.push_back(isOption ? kernel : "kernel=" + kernel);
    Outcome const outcome = runQorn(arguments);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    std::string const bytes = readFile(output);
    std::vector<double> taps;
    if (bytes.size() < voxels.size() * 8) return taps;
    std::memcpy(voxels.data(), bytes.data() + bytes.size() - voxels.size() * 8, voxels.size() * 8);
    long const reach = size / 2, plans = dimension == 3 ? reach : 0;
    for (long plan = plans; plan >= -plans; --plan)
      for (long row = reach; row >= -reach; --row)
        for (long col = reach; col >= -reach; --col)
          taps.push_back(voxels[static_cast<std::size_t>((nbPlans / 2 + plan) * side * side +
                                                         (side / 2 + row) * side + side / 2 + col)]);
    return taps;
  }

  TempFolder folder;
  std::string input = folder / "input.npy", output = folder / "output.npy";
};

using Taps = std::vector<double>;

TEST_F(KernelPresets, AreTheirTapsInAPlan) {
  EXPECT_EQ(answer(2, "sobel-x", 3), (Taps{-1, 0, 1, -2, 0, 2, -1, 0, 1}));
  EXPECT_EQ(answer(2, "sobel-y", 3), (Taps{-1, -2, -1, 0, 0, 0, 1, 2, 1}));
  EXPECT_EQ(answer(2, "laplace", 3), (Taps{0, 1, 0, 1, -4, 1, 0, 1, 0}));
  EXPECT_EQ(answer(2, "box(3)", 3), Taps(9, 1 / 9.));
  EXPECT_EQ(answer(2, "box(3)", 3, true), Taps(9, 1 / 9.));
  EXPECT_EQ(answer(2, "box(1)", 3), (Taps{0, 0, 0, 0, 1, 0, 0, 0, 0}));
}

TEST_F(KernelPresets, AreTheirTapsInAVolume) {
  Taps const sobelZ = answer(3, "sobel-z", 3), sobelX = answer(3, "sobel-x", 3), laplace = answer(3, "laplace", 3);
  double const weights[] = {1, 2, 1};
  for (unsigned long plan = 0; plan < 3; ++plan)
    for (unsigned long row = 0; row < 3; ++row)
      for (unsigned long col = 0; col < 3; ++col) {
        unsigned long const i = (plan * 3 + row) * 3 + col;
        EXPECT_EQ(sobelZ[i], (static_cast<double>(plan) - 1) * weights[row] * weights[col]);
        EXPECT_EQ(sobelX[i], (static_cast<double>(col) - 1) * weights[row] * weights[plan]);
        int const distance = (plan != 1) + (row != 1) + (col != 1);
        EXPECT_EQ(laplace[i], distance == 0 ? -6 : distance == 1 ? 1 : 0);
      }
  EXPECT_EQ(answer(3, "box(3)", 3), Taps(27, 1 / 27.));
}

TEST_F(KernelPresets, AreGaussiansWithTheSumOne) {
  for (double sigma : {0.5, 1., 1.7}) {
    for (int dimension : {2, 3}) {
      long const reach = static_cast<long>(4 * sigma + 0.5), size = 2 * reach + 1;
      Taps const taps = answer(dimension, "gauss(" + std::to_string(sigma) + ")", size);
      double sum = 0, expectedSum = 0;
      Taps expected;
      for (long plan = dimension == 3 ? -reach : 0; plan <= (dimension == 3 ? reach : 0); ++plan)
        for (long row = -reach; row <= reach; ++row)
          for (long col = -reach; col <= reach; ++col)
            expected.push_back(
                std::exp(-static_cast<double>(plan * plan + row * row + col * col) / (2 * sigma * sigma)));
      for (double const tap : expected) expectedSum += tap;
      for (std::size_t i = 0; i < taps.size(); ++i) {
        sum += taps[i];
        EXPECT_NEAR(taps[i], expected[i] / expectedSum, 1e-14) << sigma << ", " << i;
      }
      EXPECT_NEAR(sum, 1, 1e-12);
    }
  }
}

TEST_F(KernelPresets, RefuseWhatMakesNoKernel) {
  writeFile(input, makeNpy("|u1", "(2, 2)", std::vector<unsigned char>(4)));
  auto const expect = [this](std::string const& kernel, std::string const& why) {
    expectFailure(runQorn({"run", "FiniteImpulseResponseFilter2D", input, output, "kernel=" + kernel}), 2,
                  "kernel=" + kernel, why);
  };
  for (char const* kernel : {"gauss()", "gauss(x)"}) expect(kernel, "not a number of type real");
  expect("gauss(inf)", "must be finite");
  for (char const* kernel : {"gauss(0)", "gauss(-1)"}) expect(kernel, "sigma must be above 0");
  for (char const* kernel : {"gauss(1000)", "gauss(1e300)", "box(1001)", "box(4000000000)"})
    expect(kernel, "a kernel has at most 1000000 coefficients");
  expect("box(0)", "a box has at least 1 voxel");
  expect("sobel-z", "a 2-D kernel has no plans");
  expect("sobel", "");
  expectFailure(runQorn({"run", "Dilation2d", input, output, "--kernel", "laplace"}), 2, "kernel",
                "no such property");
}

}  // namespace
