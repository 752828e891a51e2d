// DilationElement3d and ErosionElement3d against plain loops.
#include <cmath>

#include "elements/ElementRunner.h"
#include "instrument/Recorder.h"
#include "pxl/Exception.h"
#include "support/Compositions.h"

namespace elements_test {
namespace {

constexpr Way cPasses[] = {{"DilationElement3d"}, {"ErosionElement3d"}};

template <class T>
testing::AssertionResult isPassRight(Way const& way, StructuringElement const& element,
                                     oracle::Image<T> const& image) {
  auto const operation = &way == &cPasses[0] ? Operation::cDilation : Operation::cErosion;
  auto const expected = oracle::applyVolumeList(image, operation, listOf(element));
  for (bool isInPlace : {false, true})
    if (auto const result = areEqual(run<T>(way, element, image, isInPlace), expected); !result)
      return testing::AssertionFailure() << way.name << " with " << element.toString().c_str()
                                         << (isInPlace ? " in place: " : ": ") << result.message();
  return testing::AssertionSuccess();
}

template <class T>
class ElementRunnerOfType : public ElementTest {};
TEST_TYPES(ElementRunnerOfType, oracle::VoxelTypes, oracle::VoxelTypeNames);

// 504 over all types; half of them with an origin anywhere.
TEST_OF_TYPES(ElementRunnerOfType, TakesAnyFootprint) {
  using T = TypeParam;
  oracle::Random random(31 + sizeof(T));
  for (int i = 0; i < 63; ++i) {
    auto const image = random.image<T>(
        {random.number(1, 40), random.number(1, 12), random.number(1, 6), random.number(1, 2), random.number(1, 2)});
    auto const element = makeMask(random, static_cast<int>(random.number(2, 3)), i % 2 == 1);
    for (Way const& way : cPasses) ASSERT_TRUE(isPassRight(way, element, image));
  }
}

class ElementRunner : public ElementTest {};

// In place all blocks read what others write.
TEST_F(ElementRunner, TakesAnyFootprintInSmallBlocks) {
  oracle::Random random(77);
  pxl::instrument::Recorder recorder;
  recorder.isTracing = false;
  for (int i = 0; i < 60; ++i) {
    recorder.grains = pxl::AbstractPartitionerPolicy::PartitionerGrainSizes{
        static_cast<unsigned long>(random.number(1, 4)), static_cast<unsigned long>(random.number(1, 9)),
        static_cast<unsigned long>(random.number(1, 3))};
    auto const image = random.image<short>({random.number(1, 40), random.number(1, 12), random.number(1, 7), 1, 1});
    auto const element = makeMask(random, 3, true);
    for (Way const& way : cPasses) ASSERT_TRUE(isPassRight(way, element, image));
  }
}

TEST_F(ElementRunner, GoesOverPlansOfAnElementInAPlan) {
  oracle::Random random(5);
  auto const image = random.image<unsigned char>({33, 20, 7, 2, 2});
  for (char const* text : {"disk(4)", "line(4, 20)", "disk(5, fast)", "connectivity(8, 3)", "ellipse(3, 1, 2)"})
    for (Way const& way : cPasses) EXPECT_TRUE(isPassRight(way, StructuringElement::parse(text), image));
}

TEST_F(ElementRunner, FoldsNaNAndInfinitiesInTheOrderOfTheList) {
  oracle::Random random(6);
  for (int i = 0; i < 40; ++i) {
    auto image = random.image<float>({19, 7, 4, 1, 1});
    for (float& voxel : image.voxels) {
      float const specials[] = {NAN, -NAN, INFINITY, -INFINITY, 0.F, -0.F};
      if (random.number(0, 2) == 0) voxel = specials[random.number(0, 5)];
    }
    auto const element = makeMask(random, 3, i % 2 == 1);
    for (Way const& way : cPasses) EXPECT_TRUE(isPassRight(way, element, image));
  }
}

// Rows as far away as this would take more memory than there is.
TEST_F(ElementRunner, KeepsNoRowsThatAreBeyondTheImage) {
  oracle::Random random(7);
  auto const image = random.image<unsigned short>({9, 7, 3, 1, 1});
  for (char const* text : {"mask(1, 2000000000, 2000000000, -2000000000)", "box(1, 1, 3, 0, 0, -2000000000)",
                           "box(1, 1, 3, 2000000000, 0, 1)", "box(1, 3, -2000000000, 1)", "box(1, 1, 2, 0, 0, -8)",
                           "box(2, 1, 1, 3, 0, 0)", "box(1, 2, 1, 0, 7, 0)", "box(70, 70, 35, 35)"})
    for (Way const& way : cPasses) EXPECT_TRUE(isPassRight(way, StructuringElement::parse(text), image)) << text;
}

// A box of 70 x 70 has 4900 offsets; each row of it is one run beyond the image on either side, or beyond it as a
// whole.
TEST_F(ElementRunner, FoldsWhatIsBeyondTheImageOnceInARow) {
  auto const image = pxl::Image::New(pxl::cUnsignedInteger8, {9, 7, 3, 1, 1});
  auto const limited =
      pxl::morphology::limitOffsets(StructuringElement::parse("box(70, 70, 35, 35)").getOffsets(), *image);
  // 13 rows with 17 columns each that lead to a voxel, and one offset between two rows, before the first, behind the
  // last.
  EXPECT_EQ(limited.size(), 13U * 17U + 14U);
}

TEST_F(ElementRunner, RefusesWhatHasNoList) {
  auto const image = pxl::Image::New(pxl::cUnsignedInteger8, {4, 4, 1, 1, 1});
  auto const other = pxl::Image::New(pxl::cFloat, {4, 4, 1, 1, 1});
  auto const explain = [&](StructuringElement const& element, pxl::ImageModel* output) -> std::string {
    try {
      makeAlgorithm(cPasses[0], element, image.get(), output)->execute();
    } catch (pxl::Exception const& refusal) {
      return refusal.what();
    }
    return "";
  };
  EXPECT_EQ(explain(StructuringElement(), image.get()), "DilationElement3d: element isn't set");
  EXPECT_EQ(explain(StructuringElement::connectivity(8, 500), image.get()),
            "DilationElement3d: a structuring element has at most 1000000 voxels, this one would need 1002001");
  EXPECT_EQ(explain(StructuringElement::disk(1), other.get()).substr(0, 30), "DilationElement3d: none of 1 r");
  EXPECT_EQ(explain(StructuringElement::disk(1), image.get()), "");
}

}  // namespace
}  // namespace elements_test
