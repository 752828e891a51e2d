// A part with its margins gives the bits of the whole result, and no margin of a dilation or erosion is too wide.
#include "operators/support/RandomRuns.h"
#include "pxl/Exception.h"
#include "pxl/filtering/linear/FiniteImpulseResponseFilter.h"
#include "pxl/morphology/ElementMorphology.h"
#include "pxl/morphology/Morphology.h"

namespace operators_test {
namespace {

using pxl::kernel::Margins;

TEST(MarginsTable, HoldsWhatTheElementsReach) {
  pxl::morphology::Dilation2d square;
  EXPECT_EQ(square.getMargins(), (Margins{1, 1, 1, 1, 0, 0}));
  square.numberOfIterations = 0;
  EXPECT_EQ(square.getMargins(), Margins());
  pxl::morphology::Erosion3d cube;
  cube.numberOfIterations = 3;
  EXPECT_EQ(cube.getMargins(), (Margins{3, 3, 3, 3, 3, 3}));
  pxl::morphology::DilationDisk2d disk;
  pxl::morphology::ErosionBall3d ball;
  for (int shape : {0, 1}) {
    disk.shapeMode = shape;
    ball.shapeMode = shape;
    disk.radius = 5U;
    ball.radius = 5U;
    EXPECT_EQ(disk.getMargins(), (Margins{5, 5, 5, 5, 0, 0}));
    EXPECT_EQ(ball.getMargins(), (Margins{5, 5, 5, 5, 5, 5}));
  }
  pxl::morphology::DilationLine2d line;
  line.lineSize = 4U;
  EXPECT_EQ(line.getMargins(), (Margins{1, 2, 0, 0, 0, 0}));
  line.lineAngle = 90;  // counter-clockwise: towards lower rows
  EXPECT_EQ(line.getMargins(), (Margins{0, 0, 2, 1, 0, 0}));
  line.lineAngle = 180;
  EXPECT_EQ(line.getMargins(), (Margins{2, 1, 0, 0, 0, 0}));
  pxl::morphology::ErosionLine3d steep;
  steep.lineSize = 6U;
  steep.secondAngle = 90;
  EXPECT_EQ(steep.getMargins(), (Margins{0, 0, 0, 0, 2, 3}));
  pxl::morphology::DilationDisk3d flat;
  flat.radius = 2U;
  flat.secondAngle = 90;
  EXPECT_EQ(flat.getMargins(), (Margins{2, 2, 2, 2, 0, 0}));
  pxl::morphology::ErosionElement3d listed;
  listed.element = pxl::kernel::StructuringElement::parse("mask(1 1 1 | 0 0 0, 1, 0, -2)");
  EXPECT_EQ(listed.getMargins(), (Margins{0, 4, 0, 0, 1, 0}));
  pxl::morphology::Dilate dilate;
  pxl::morphology::Open open;
  pxl::morphology::BlackTopHat topHat;
  pxl::morphology::Gradient gradient;
  auto const even = pxl::kernel::StructuringElement::line(4, 0);
  dilate.element = even;
  open.element = even;
  topHat.element = even;
  gradient.element = even;
  EXPECT_EQ(dilate.getMargins(), (Margins{1, 2, 0, 0, 0, 0}));
  EXPECT_EQ(open.getMargins(), (Margins{3, 3, 0, 0, 0, 0}));
  EXPECT_EQ(topHat.getMargins(), (Margins{3, 3, 0, 0, 0, 0}));
  EXPECT_EQ(gradient.getMargins(), (Margins{1, 2, 0, 0, 0, 0}));
  pxl::filtering::linear::FiniteImpulseResponseFilter2D fir;
  fir.kernel = pxl::kernel::Kernel2D({{0, 0}, {5, 0}, {0, -3}}, {1, 1, 1});
  EXPECT_EQ(fir.getMargins(), (Margins{5, 5, 3, 3, 0, 0}));
  line.lineSize = 2000000U;
  EXPECT_THROW(line.getMargins(), pxl::InvalidCall);
}

class OfEveryOperator : public EveryOperator {};
PXLWORKS_FOR_EVERY_OPERATOR(OfEveryOperator);

TEST_P(OfEveryOperator, PartsWithMarginsHaveTheBitsOfTheWhole) {
  unsigned long constexpr cNbRounds = 12;
  oracle::Random random(1702);
  for (pxl::VoxelTypes const type : cAllTypes) {
    if (!takesType(GetParam(), type)) continue;
    for (unsigned long round = 0; round < cNbRounds; ++round) {
      oracle::Five const sizes{random.number(1, 40), random.number(1, 14), random.number(1, 9), 1, 1};
      ReadyRun const whole = makeRun(toHostSizes(sizes), type);
      if (!whole.output) return;
      chooseProperties(*whole.algorithm, random);
      for (auto const& input : whole.inputs) fill(*input, random);
      fill(*whole.output, random);
      Bytes const before = takeAll(*whole.output);
      whole.algorithm->execute();
      for (int i = 0; i < 6; ++i) {
        Box box = makeBox(random, sizes);
        // Higher plans are beyond what the operator writes.
        if (GetParam() == "FiniteImpulseResponseFilter2D") box.begin[2] = 0, box.end[2] = 1;
        Box const enlarged = enlarge(box, whole.algorithm->getMargins(), sizes);
        ReadyRun const part = makeAlike(*whole.algorithm, sizesOf(enlarged), type);
        for (std::size_t n = 0; n < part.inputs.size(); ++n) put(*part.inputs[n], take(*whole.inputs[n], enlarged));
        ReadyRun const old = makeAlike(*whole.algorithm, toHostSizes(sizes), type);
        put(*old.output, before);
        put(*part.output, take(*old.output, enlarged));
        part.algorithm->execute();
        ASSERT_EQ(take(*part.output, moveInto(box, enlarged)), take(*whole.output, box))
            << pxl::helper::getNameOf(type) << ", round " << round << ", box " << box.toString();
      }
    }
  }
}

class Morphology : public EveryOperator {};
std::vector<std::string> getMorphologyNames() {
  std::vector<std::string> names;
  for (pxl::AlgoInfo const* record : pxl::AlgoInfo::getAll())
    if (record->getCategory() == std::string("morphology")) names.emplace_back(record->getName());
  return names;
}
INSTANTIATE_TEST_SUITE_P(Of, Morphology, testing::ValuesIn(getMorphologyNames()),
                         [](auto const& name) { return name.param; });

unsigned long& sideOf(Margins& margins, int side) {
  unsigned long* const sides[] = {&margins.colsBefore, &margins.colsAfter,   &margins.rowsBefore,
                                  &margins.rowsAfter,  &margins.plansBefore, &margins.plansAfter};
  return *sides[side];
}

/**
 * An image of 10 and 200 on which the voxel at `margins` needs the outermost layer of a side. A dilation and an
 * erosion find what wins there alone. An opening finds the element there, shifted so far, but for its voxels in this
 * layer: without the layer nothing is missing. Where the element doesn't reach to this side of its origin, which then
 * lies in the layer, the whole element is there, and nothing is found without it. A closing likewise, with dark and
 * bright exchanged.
 */
void fillForSide(pxl::Image& image, pxl::BaseAlgorithm const& algorithm, Margins const& margins, int side) {
  std::string const name = algorithm.getAlgoInfo()->getName();
  oracle::Five const sizes = getSizes(image);
  auto* const voxels = static_cast<unsigned char*>(image.getVoxels());
  auto const d = static_cast<std::size_t>(side / 2);
  bool const isBefore = side % 2 == 0;
  auto const isOuter = [&](oracle::Five const& p) { return p[d] == (isBefore ? 0 : sizes[d] - 1); };
  long i = 0;
  if (name != "Open" && name != "Close" && name.find("TopHat") == std::string::npos) {
    bool isErosion = name.compare(0, 4, "Eros") == 0 || name == "Erode";
    if (name == "Gradient")
      isErosion =
          dynamic_cast<pxl::morphology::Gradient const&>(algorithm).gradientMode == pxl::morphology::cInnerGradient;
    return oracle::forEachPosition(sizes,
                                   [&](oracle::Five const& p) { voxels[i++] = isOuter(p) != isErosion ? 200 : 10; });
  }
  bool const isClosing = name == "Close" || name == "BlackTopHat";
  auto const offsets = dynamic_cast<pxl::morphology::ElementMorphology const&>(algorithm).element.get().getOffsets();
  auto const at = [](pxl::kernel::Offset3D const& o, std::size_t axis) {
    return axis == 0 ? o.col : axis == 1 ? o.row : o.plan;
  };
  auto shift = offsets.front();
  for (auto const& o : offsets)
    if (isBefore ? at(o, d) > at(shift, d) : at(o, d) < at(shift, d)) shift = o;
  bool const isOriginOuter = std::none_of(offsets.begin(), offsets.end(),
                                          [&](auto const& o) { return isBefore ? at(o, d) < 0 : at(o, d) > 0; });
  oracle::forEachPosition(sizes, [&](oracle::Five const& p) {
    auto const isHere = [&](pxl::kernel::Offset3D const& o) {
      return p[0] == static_cast<long>(margins.colsBefore) - shift.col + o.col &&
             p[1] == static_cast<long>(margins.rowsBefore) - shift.row + o.row &&
             p[2] == static_cast<long>(margins.plansBefore) - shift.plan + o.plan;
    };
    bool const isFound = (!isOuter(p) || isOriginOuter) && std::any_of(offsets.begin(), offsets.end(), isHere);
    voxels[i++] = isFound != isClosing ? 200 : 10;
  });
}

// With one layer less nothing is left of what is needed there.
TEST_P(Morphology, NeedsEachOfItsMargins) {
  oracle::Random random(88);
  int nbSides = 0;
  for (int round = 0; round < 60; ++round) {
    ReadyRun const model = makeRun({1, 1, 1, 1, 1}, pxl::cUnsignedInteger8);
    chooseProperties(*model.algorithm, random);
    // Of other elements not all of the sum of two margins is needed.
    if (auto* const morphology = dynamic_cast<pxl::morphology::ElementMorphology*>(model.algorithm.get()))
      morphology->element = makeRandomElement(random, true);
    Margins const margins = model.algorithm->getMargins();
    for (int side = 0; side < 6; ++side) {
      Margins narrow = margins;
      if (sideOf(narrow, side) == 0) continue;
      --sideOf(narrow, side);
      ++nbSides;
      oracle::Five const sizes{static_cast<long>(margins.colsBefore + 1 + margins.colsAfter),
                               static_cast<long>(margins.rowsBefore + 1 + margins.rowsAfter),
                               static_cast<long>(margins.plansBefore + 1 + margins.plansAfter), 1, 1};
      ReadyRun const whole = makeAlike(*model.algorithm, toHostSizes(sizes), pxl::cUnsignedInteger8);
      fillForSide(*whole.inputs.front(), *whole.algorithm, margins, side);
      Box voxel;
      voxel.begin = {static_cast<long>(margins.colsBefore), static_cast<long>(margins.rowsBefore),
                     static_cast<long>(margins.plansBefore), 0, 0};
      for (std::size_t n = 0; n < 5; ++n) voxel.end[n] = voxel.begin[n] + 1;
      whole.algorithm->execute();
      Box const enlarged = enlarge(voxel, narrow, sizes);
      ReadyRun const part = makeAlike(*model.algorithm, sizesOf(enlarged), pxl::cUnsignedInteger8);
      put(*part.inputs.front(), take(*whole.inputs.front(), enlarged));
      part.algorithm->execute();
      ASSERT_NE(take(*part.output, moveInto(voxel, enlarged)), take(*whole.output, voxel))
          << "round " << round << ", side " << side;
    }
  }
  EXPECT_GT(nbSides, 60);
}

}  // namespace
}  // namespace operators_test
