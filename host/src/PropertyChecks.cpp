#include "PropertyChecks.h"

#include <string>

#include "Raise.h"
#include "access/Overlap.h"
#include "pxl/AlgoInfo.h"
#include "pxl/BaseAlgorithm.h"
#include "pxl/ImageModel.h"

namespace pxl {
namespace {

std::string nameOf(BaseAlgorithm const& algorithm) { return algorithm.getAlgoInfo()->getName(); }

void checkSizes(BaseAlgorithm const& algorithm, NamedImage const& first, NamedImage const& other) {
  for (int i = 0; i < cNbComponents; ++i) {
    Components const component = static_cast<Components>(i);
    if (first.image->getNumOf(component) != other.image->getNumOf(component))
      PXL_RAISE(InvalidCall, nameOf(algorithm) + ": " + first.name + " and " + other.name + " differ in size");
  }
}

bool isWhole(access::Region const& region, ImageModel const& image, Components component) {
  long const counts[] = {region.getNbCols(), region.getNbRows(), region.getNbPlans(), region.getNbSequencePlans(),
                         region.getNbSpectralSeries()};
  return static_cast<unsigned long>(counts[component]) == image.getNumOf(component);
}

// What a region lacks so that its result is that part of the whole result; null if it lacks nothing.
char const* findLack(BaseAlgorithm const& algorithm, ImageModel const& image) {
  access::Region const& region = algorithm.getProcessingRegion();
  bool const isPlaneWhole = isWhole(region, image, cColumns) && isWhole(region, image, cRows);
  bool const isVolumeWhole = isPlaneWhole && isWhole(region, image, cPlans);
  if (isVolumeWhole && isWhole(region, image, cSequence) && isWhole(region, image, cSpectralSeries)) return nullptr;
  bool const isPlanByPlan = algorithm.getAlgoInfo()->getWorkingDimension() == WorkingDimension::cPlanByPlan;
  bool const isFirstStack = region.sequenceBegin() == 0 && region.spectralSeriesBegin() == 0;
  bool const isFirstPlan = isFirstStack && region.plansBegin() == 0;
  bool const isOrigin = isFirstPlan && region.rowsBegin() == 0 && region.colsBegin() == 0;
  switch (algorithm.getRegionUse()) {
    case RegionUses::cAnyBox:
      return isFirstStack ? nullptr : "must begin at 0 in sequence and spectral series";
    case RegionUses::cAnyRectangle:
      return isFirstPlan ? nullptr : "must begin at 0 in plans, sequence and spectral series";
    case RegionUses::cFromOrigin:
      return isOrigin ? nullptr : "must begin at 0 in every dimension";
    case RegionUses::cWholeSlices:
      if (isOrigin && (isPlanByPlan ? isPlaneWhole : isVolumeWhole)) return nullptr;
      return isPlanByPlan ? "must begin at 0 and span whole plans, as there are several passes"
                          : "must begin at 0 and span whole volumes, as there are several passes";
    case RegionUses::cWholeImage:
      break;
  }
  return "can't be less than the whole image";
}

void checkRegion(BaseAlgorithm const& algorithm, ImageModel const& image) {
  access::Region const& region = algorithm.getProcessingRegion();
  auto const isWithin = [&image](long begin, long end, Components component) {
    return begin >= 0 && begin <= end && static_cast<unsigned long>(end) <= image.getNumOf(component);
  };
  if (!isWithin(region.colsBegin(), region.colsEnd(), cColumns) ||
      !isWithin(region.rowsBegin(), region.rowsEnd(), cRows) ||
      !isWithin(region.plansBegin(), region.plansEnd(), cPlans) ||
      !isWithin(region.sequenceBegin(), region.sequenceEnd(), cSequence) ||
      !isWithin(region.spectralSeriesBegin(), region.spectralSeriesEnd(), cSpectralSeries))
    PXL_RAISE(InvalidCall, nameOf(algorithm) + ": the region to process reaches beyond the images");
  if (char const* const lack = findLack(algorithm, image))
    PXL_RAISE(InvalidCall, nameOf(algorithm) + ": the region to process " + lack);
}

}  // namespace

std::vector<NamedImage> getNamedImages(BaseAlgorithm const& algorithm, PropertyKinds kind) {
  std::vector<NamedImage> images;
  for (PropertyBase const* property : algorithm.getProperties()) {
    if (property->getKind() != kind) continue;
    auto const add = [&images, property](ImageModel const* image) { images.push_back({image, property->getName()}); };
    visitProperty(*property, Overloaded{[add](Property<ImageModel const*> const& image) { add(image.get()); },
                                        [add](Property<ImageModel*> const& image) { add(image.get()); },
                                        [](PropertyBase const&) {}});
  }
  return images;
}

std::vector<ImageModel const*> getImages(BaseAlgorithm const& algorithm, PropertyKinds kind) {
  std::vector<ImageModel const*> images;
  for (NamedImage const& named : getNamedImages(algorithm, kind)) images.push_back(named.image);
  return images;
}

void checkProperties(BaseAlgorithm const& algorithm) {
  for (PropertyBase const* property : algorithm.getProperties())
    if (!property->isSet()) PXL_RAISE(InvalidCall, nameOf(algorithm) + ": " + property->getName() + " isn't set");
  if (String const refusal = algorithm.validate(); !refusal.empty())
    PXL_RAISE(InvalidCall, nameOf(algorithm) + ": " + refusal.str());
  auto const inputs = getNamedImages(algorithm, PropertyKinds::cInputImage);
  auto const outputs = getNamedImages(algorithm, PropertyKinds::cOutputImage);
  if (inputs.empty() && outputs.empty()) return;
  NamedImage const& first = inputs.empty() ? outputs.front() : inputs.front();
  for (NamedImage const& input : inputs) checkSizes(algorithm, first, input);
  for (NamedImage const& output : outputs) {
    checkSizes(algorithm, first, output);
    access::VoxelSource const target = output.image->getSource();
    if (!target.isWritable) PXL_RAISE(InvalidCall, nameOf(algorithm) + ": " + output.name + " is read-only");
    if (access::isOnItself(target))
      PXL_RAISE(InvalidCall, nameOf(algorithm) + ": " + output.name +
                                 " can't be written: voxels of it lie on each other (a stride is 0 or too short)");
    for (NamedImage const& input : inputs)
      if (access::getOverlap(input.image->getSource(), target) == access::Overlaps::cPartial)
        PXL_RAISE(InvalidCall, nameOf(algorithm) + ": " + output.name + " overlaps " + input.name + " in part");
  }
  if (algorithm.hasProcessingRegion()) checkRegion(algorithm, *first.image);
}

}  // namespace pxl
