// An operator reads the neighbours that it names: a run on a single voxel shows where that one was read.
#include <algorithm>
#include <array>
#include <set>

#include "operators/support/EveryOperator.h"
#include "oracle/Oracle.h"

namespace operators_test {
namespace {

using Position = std::array<long, 3>;  ///< column, row, plan

class Offsets : public EveryOperator {
 protected:
  static constexpr long cReach = 9;  ///< no element of these tests reaches further
  static constexpr long cSize = 2 * cReach + 3;
  static constexpr long cMiddle = cReach + 1;

  static std::set<Position> getOffsets(pxl::BaseAlgorithm const& algorithm) {
    std::set<Position> positions;
    for (auto const& offset : algorithm.getOffsets()) {
      EXPECT_TRUE(positions.insert({offset.col, offset.row, offset.plan}).second) << "each once";
    }
    return positions;
  }

  /** From which voxels a run takes what differs from the background, relative to the voxel it writes. */
  static std::set<Position> probe(ReadyRun const& run, unsigned short background, unsigned short peak) {
    auto* const in = static_cast<unsigned short*>(run.inputs.front()->getVoxels());
    auto* const out = static_cast<unsigned short*>(run.output->getVoxels());
    constexpr long cVolume = cSize * cSize * cSize;
    std::fill(in, in + cVolume, background);
    std::fill(out, out + cVolume, background);
    in[(cMiddle * cSize + cMiddle) * cSize + cMiddle] = peak;
    run.algorithm->execute();
    std::set<Position> positions;
    for (long i = 0; i < cVolume; ++i) {
      if (out[i] == background) continue;
      positions.insert({cMiddle - i % cSize, cMiddle - i / cSize % cSize, cMiddle - i / (cSize * cSize)});
    }
    return positions;
  }

  static bool hasTwoPasses() {
    std::string const name = GetParam();
    return name == "Open" || name == "Close" || name == "WhiteTopHat" || name == "BlackTopHat";
  }

  template <class T>
  static void setIfThere(ReadyRun& run, char const* name, T value) {
    if (run.algorithm->findProperty(name)) setProperty(*run.algorithm, name, value);
  }

  /** Taps at random offsets; the same one may occur twice. */
  static void setKernel(ReadyRun& run, oracle::Random& random) {
    long const count = random.number(1, 6);
    std::vector<pxl::kernel::Offset3D> offsets;
    std::vector<double> const ones(static_cast<std::size_t>(count), 1);
    bool const isFlat = run.algorithm->findProperty("kernel")->getKind() == pxl::PropertyKinds::cKernel2D;
    for (long i = 0; i < count; ++i) {
      offsets.push_back({random.number(-3, 3), random.number(-3, 3), isFlat ? 0 : random.number(-3, 3)});
    }
    if (!isFlat) return setProperty(*run.algorithm, "kernel", pxl::kernel::Kernel3D(offsets, ones));
    std::vector<pxl::kernel::Offset2D> flat;
    for (auto const& offset : offsets) flat.push_back({offset.col, offset.row});
    setProperty(*run.algorithm, "kernel", pxl::kernel::Kernel2D(flat, ones));
  }
};
PXLWORKS_FOR_EVERY_OPERATOR(Offsets);

TEST_P(Offsets, AreWhereARunReads) {
  oracle::Random random(815);
  bool const isErosion = GetParam().rfind("Ero", 0) == 0;
  for (int round = 0; round < 60; ++round) {
    auto run = makeRun({cSize, cSize, cSize, 1, 1});
    if (!run.output || run.inputs.size() > 1 || run.algorithm->findProperty("logicalOperator")) {
      EXPECT_EQ(getOffsets(*run.algorithm), std::set<Position>({{0, 0, 0}})) << "each voxel by itself";
      return;
    }
    if (hasTwoPasses()) {
      // A single voxel doesn't outlive an erosion, so that a run would show nothing.
      auto const element = pxl::asProperty<pxl::kernel::StructuringElement>(*run.algorithm->findProperty("element"))
                               ->get()
                               .getOffsets();
      std::set<Position> sums;
      for (auto const& a : element)
        for (auto const& b : element) sums.insert({a.col - b.col, a.row - b.row, a.plan - b.plan});
      EXPECT_EQ(getOffsets(*run.algorithm), sums);
      return;
    }
    std::string text;
    auto const pick = [&](char const* name, long low, long high) {
      long const value = random.number(low, high);
      if (run.algorithm->findProperty(name)) text += std::string(name) + "=" + std::to_string(value) + " ";
      return value;
    };
    setIfThere(run, "numberOfIterations", static_cast<unsigned int>(pick("numberOfIterations", 0, 4)));
    setIfThere(run, "neighborhood", static_cast<int>(pick("neighborhood", -1, 3)));
    setIfThere(run, "radius", static_cast<unsigned int>(pick("radius", 0, 6)));
    setIfThere(run, "shapeMode", static_cast<int>(pick("shapeMode", 0, 2)));
    setIfThere(run, "lineSize", static_cast<unsigned int>(pick("lineSize", 0, 18)));
    setIfThere(run, "lineAngle", static_cast<double>(pick("lineAngle", -400, 400)));
    setIfThere(run, "firstAngle", static_cast<double>(pick("firstAngle", -400, 400)));
    setIfThere(run, "secondAngle", static_cast<double>(pick("secondAngle", -400, 400)));
    bool const isFilter = run.algorithm->findProperty("kernel") != nullptr;
    if (isFilter) setKernel(run, random);
    SCOPED_TRACE(text);
    if (isFilter && run.algorithm->findProperty("kernel")->getKind() == pxl::PropertyKinds::cKernel2D) {
      // It works only on plan 0, which must contain the middle.
      auto const all = getOffsets(*run.algorithm);
      auto* const in = static_cast<unsigned short*>(run.inputs.front()->getVoxels());
      in[cMiddle * cSize + cMiddle] = 1;
      run.algorithm->execute();
      auto const* const out = static_cast<unsigned short const*>(run.output->getVoxels());
      std::set<Position> found;
      for (long i = 0; i < cSize * cSize; ++i) {
        if (out[i] != 0) found.insert({cMiddle - i % cSize, cMiddle - i / cSize, 0});
      }
      EXPECT_EQ(all, found);
      continue;
    }
    EXPECT_EQ(getOffsets(*run.algorithm), probe(run, isErosion ? 65535 : 0, isErosion ? 0 : 1));
  }
}

}  // namespace
}  // namespace operators_test
