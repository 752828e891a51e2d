#include <string>

#include "Benchmarks.h"
#include "Images.h"
#include "pxl/morphology/Morphology.h"

// Erosions differ from dilations in one instruction. If their times are equal, the figures of the dilations hold for
// both.
namespace bench {
namespace {

using namespace pxl::morphology;

template <class Algorithm>
std::shared_ptr<Algorithm> makeAlgorithm(ImagePointer const& input, ImagePointer const& output) {
  auto algorithm = std::make_shared<Algorithm>();
  algorithm->inputImage = input.get();
  algorithm->outputImage = output.get();
  if constexpr (std::is_base_of_v<RadiusMorphology, Algorithm> ||
                std::is_base_of_v<OrientedDiskMorphology, Algorithm>)
    algorithm->radius = 3;
  if constexpr (std::is_base_of_v<RadiusMorphology, Algorithm>) algorithm->shapeMode = 1;
  if constexpr (std::is_base_of_v<Line2dMorphology, Algorithm> || std::is_base_of_v<Line3dMorphology, Algorithm>)
    algorithm->lineSize = 21;
  return algorithm;
}

template <class Erosion, class Dilation, class T>
void addPairOf(char const* name, char const* type, pxl::ImageSizes const& sizes) {
  addPair(std::string(name) + "/" + type + "/relative_to_its_dilation", 2, [=] {
    ImagePointer const input = makeImage<T>(sizes), output = pxl::Image::New(cType<T>, sizes);
    auto const erosion = makeAlgorithm<Erosion>(input, output);
    auto const dilation = makeAlgorithm<Dilation>(input, output);
    return Pair{[input, output, erosion] { erosion->execute(); }, [dilation] { dilation->execute(); }};
  });
}

template <class Erosion, class Dilation>
void addOperator(char const* name, pxl::ImageSizes const& sizes) {
  addPairOf<Erosion, Dilation, unsigned char>(name, "u8", sizes);
  addPairOf<Erosion, Dilation, float>(name, "f32", sizes);
}

}  // namespace

void addErosion() {
  pxl::ImageSizes const plane{4096, 4096, 1, 1, 1}, volume{256, 256, 256, 1, 1};
  addOperator<Erosion2d, Dilation2d>("Erosion2d", plane);
  addOperator<ErosionDisk2d, DilationDisk2d>("ErosionDisk2d", plane);
  addOperator<ErosionLine2d, DilationLine2d>("ErosionLine2d", plane);
  addOperator<Erosion3d, Dilation3d>("Erosion3d", volume);
  addOperator<ErosionBall3d, DilationBall3d>("ErosionBall3d", volume);
  addOperator<ErosionDisk3d, DilationDisk3d>("ErosionDisk3d", volume);
  addOperator<ErosionLine3d, DilationLine3d>("ErosionLine3d", volume);
}

}  // namespace bench
