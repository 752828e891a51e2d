// Compositions with boxes, which the runners `wide` take whole and the runners `sse41` as lines.
#include "Compared.h"
#include "pxl/AlgoInfo.h"
#include "pxl/morphology/ElementMorphology.h"

namespace wide_test {
namespace {

class WideCompositions : public testing::Test {
 protected:
  static void SetUpTestSuite() { loadPlugins(); }
};

TEST_F(WideCompositions, HaveTheSameBits) {
  Random random(81);
  for (char const* name : {"Dilate", "Erode", "Open", "Close"})
    for (char const* element : {"box(11, 9)", "box(2, 30)", "box(5, 5, 5)", "box(1, 21)", "box(3, 8, 7, 1, 0, 6)",
                                "box(70, 3)", "mask(1 1 1 1; 1 1 1 1; 1 1 1 1)"})
      for (pxl::VoxelTypes type : cTypes)
        for (bool isInPlace : {false, true}) {
          auto const algorithm = pxl::AlgoInfo::find(name)->create();
          setIfAny<pxl::kernel::StructuringElement>(*algorithm, "element",
                                                    pxl::kernel::StructuringElement::parse(element));
          RandomImages images(random, name, type, {41, 23, 7, 2, 1}, Specials::cMany);
          images.inPlace = isInPlace ? 0 : -1;
          ASSERT_TRUE(isSame(*algorithm, images)) << element;
        }
}

}  // namespace
}  // namespace wide_test
