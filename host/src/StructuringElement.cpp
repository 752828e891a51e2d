#include "pxl/kernel/StructuringElement.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>

#include "ElementLimits.h"
#include "Raise.h"
#include "StructuringElementData.h"
#include "pxl/kernel/StructuringElements.h"

namespace pxl::kernel {
namespace {

constexpr unsigned int cMaxSize = 2147483647;
constexpr long cMaxOffset = 1L << 31;
constexpr long cMaxArray = 1L << 30;

void checkSize(char const* what, unsigned int size) {
  if (size > cMaxSize) PXL_RAISE(InvalidCall, std::string(what) + " is at most 2147483647");
}

double turnAround(double angle) {
  double const turn = std::fmod(angle, 360);
  return turn < 180 ? turn + 180 : turn - 180;
}

std::vector<Offset3D> toVolume(std::vector<Offset2D> const& offsets) {
  std::vector<Offset3D> result;
  result.reserve(offsets.size());
  for (Offset2D const& offset : offsets) result.push_back({offset.col, offset.row, 0});
  return result;
}

/** The value of an axis, in array order; 0 for the plans of a two-dimensional element. */
long at(std::vector<long> const& values, std::size_t axis, long missing) {
  return values.size() == 3 ? values[axis] : axis == 0 ? missing : values[axis - 1];
}

void checkArray(std::vector<long> const& sizes, std::vector<long> const& origin) {
  if (sizes.size() != 2 && sizes.size() != 3) PXL_RAISE(InvalidCall, "an array of an element has 2 or 3 dimensions");
  if (origin.size() != sizes.size())
    PXL_RAISE(InvalidCall, "an origin of " + std::to_string(origin.size()) + " values doesn't fit " +
                               std::to_string(sizes.size()) + " dimensions");
  long count = 1;
  for (long size : sizes) {
    if (size < 1) PXL_RAISE(InvalidCall, "the size of an element is at least 1 in each dimension");
    if (size > cMaxArray / count) PXL_RAISE(InvalidCall, "the array of an element has at most 2^30 voxels");
    count *= size;
  }
  for (long position : origin)
    if (position < -cMaxOffset || position > cMaxOffset)
      PXL_RAISE(InvalidCall, "the origin of an element lies beyond 2^31 voxels");
}

/** The positions of an array for which isIn(index). */
template <class IsIn>
std::vector<Offset3D> collectArray(std::vector<long> const& sizes, std::vector<long> const& origin,
                                   IsIn const& isIn) {
  checkArray(sizes, origin);
  std::vector<Offset3D> offsets;
  unsigned long nbVoxels = 0;
  std::size_t index = 0;
  for (long plan = 0; plan < at(sizes, 0, 1); ++plan)
    for (long row = 0; row < at(sizes, 1, 1); ++row)
      for (long col = 0; col < at(sizes, 2, 1); ++col)
        if (isIn(index++) && ++nbVoxels <= 1000000)
          offsets.push_back({col - at(origin, 2, 0), row - at(origin, 1, 0), plan - at(origin, 0, 0)});
  checkNbVoxels(nbVoxels);
  return offsets;
}

std::vector<long> halve(std::vector<long> sizes) {
  for (long& size : sizes) size /= 2;
  return sizes;
}

}  // namespace

StructuringElement::StructuringElement() : Object(nullptr) {}
StructuringElement::StructuringElement(Data* data) : Object(data) {}
StructuringElement::~StructuringElement() = default;

StructuringElement::Data const& StructuringElement::getData() const {
  static Data const* const none = new Data(ElementKinds::cNone, 0);
  RefImpl const* const data = getImplementation();
  return data ? static_cast<Data const&>(*data) : *none;
}

StructuringElement StructuringElement::connectivity(unsigned int nbNeighbours, unsigned int iterations) {
  int const dimension = nbNeighbours == 4 || nbNeighbours == 8 ? 2 : 3;
  if (dimension == 3 && nbNeighbours != 6 && nbNeighbours != 18 && nbNeighbours != 26)
    PXL_RAISE(InvalidCall, "a connectivity must be 4, 8, 6, 18 or 26, not " + std::to_string(nbNeighbours));
  auto data = std::make_unique<Data>(ElementKinds::cConnectivity, dimension, iterations);
  data->nbNeighbours = nbNeighbours;
  return StructuringElement(data.release());
}

StructuringElement StructuringElement::disk(unsigned int radius, ElementModes mode) {
  auto data = std::make_unique<Data>(ElementKinds::cDisk, 2, radius);
  data->mode = mode;
  if (mode == ElementModes::cExact)
    data->offsets = toVolume(generateDiskOffset2DCollection(radius));
  else
    checkSize("a radius", radius);
  return StructuringElement(data.release());
}

StructuringElement StructuringElement::ball(unsigned int radius, ElementModes mode) {
  auto data = std::make_unique<Data>(ElementKinds::cBall, 3, radius);
  data->mode = mode;
  if (mode == ElementModes::cExact)
    data->offsets = generateSphereOffset3DCollection(radius);
  else
    checkSize("a radius", radius);
  return StructuringElement(data.release());
}

StructuringElement StructuringElement::line(unsigned int length, double angle) {
  auto data = std::make_unique<Data>(ElementKinds::cLine, 2, length);
  data->angle = angle;
  data->offsets = toVolume(generateLineOffset2DCollectionWithConstNumOfPixels(angle, length, true));
  return StructuringElement(data.release());
}

StructuringElement StructuringElement::line3d(unsigned int length, double azimuth, double elevation) {
  auto data = std::make_unique<Data>(ElementKinds::cLine3d, 3, length);
  data->angle = azimuth;
  data->elevation = elevation;
  data->offsets = generateLineOffset3DCollectionWithConstNumOfPixels(elevation, azimuth, length, true);
  return StructuringElement(data.release());
}

StructuringElement StructuringElement::disk3d(unsigned int radius, double azimuth, double elevation) {
  auto data = std::make_unique<Data>(ElementKinds::cDisk3d, 3, radius);
  data->angle = azimuth;
  data->elevation = elevation;
  data->offsets = generateDiskOffset3DCollection(elevation, azimuth, radius);
  return StructuringElement(data.release());
}

StructuringElement StructuringElement::box(std::vector<long> const& sizes, std::vector<long> const& origin) {
  auto data = std::make_unique<Data>(ElementKinds::cBox, static_cast<int>(sizes.size()));
  checkArray(sizes, origin);
  unsigned long nbVoxels = 1;
  for (long size : sizes) nbVoxels *= static_cast<unsigned long>(size);
  checkNbVoxels(nbVoxels);
  data->offsets = collectArray(sizes, origin, [](std::size_t) { return true; });
  return StructuringElement(data.release());
}

StructuringElement StructuringElement::box(std::vector<long> const& sizes) { return box(sizes, halve(sizes)); }

StructuringElement StructuringElement::makeEllipsoid(ElementKinds kind, double radius,
                                                     std::vector<double> const& spacing) {
  auto data = std::make_unique<Data>(kind, static_cast<int>(spacing.size()));
  data->radius = radius;
  data->spacing = spacing;
  data->offsets = collectEllipsoid(radius, spacing);
  return StructuringElement(data.release());
}

StructuringElement StructuringElement::ellipse(double radius, std::array<double, 2> const& spacing) {
  return makeEllipsoid(ElementKinds::cEllipse, radius, {spacing.begin(), spacing.end()});
}

StructuringElement StructuringElement::ellipsoid(double radius, std::array<double, 3> const& spacing) {
  return makeEllipsoid(ElementKinds::cEllipsoid, radius, {spacing.begin(), spacing.end()});
}

StructuringElement StructuringElement::mask(unsigned char const* array, std::vector<long> const& sizes,
                                            std::vector<long> const& origin) {
  if (!array) PXL_RAISE(InvalidCall, "a mask needs the address of its voxels");
  auto data = std::make_unique<Data>(ElementKinds::cMask, static_cast<int>(sizes.size()));
  data->offsets = collectArray(sizes, origin, [array](std::size_t index) { return array[index] != 0; });
  if (data->offsets.empty()) PXL_RAISE(InvalidCall, "a mask needs a voxel that isn't 0");
  return StructuringElement(data.release());
}

StructuringElement StructuringElement::mask(unsigned char const* array, std::vector<long> const& sizes) {
  return mask(array, sizes, halve(sizes));
}

std::vector<Offset3D> StructuringElement::getOffsets() const {
  Data const& data = getData();
  if (!data.offsets.empty() || data.kind == ElementKinds::cNone) return data.offsets;
  return collectPasses(data.dimension, countPasses(data.dimension, data.nbNeighbours, data.size));
}

Margins StructuringElement::getMargins() const {
  Data const& data = getData();
  if (data.offsets.empty()) {
    unsigned long const reach = data.size, ofPlans = data.dimension == 3 ? reach : 0;
    return {reach, reach, reach, reach, ofPlans, ofPlans};
  }
  long minCol, maxCol, minRow, maxRow, minPlan, maxPlan;
  computeExtrema(data.offsets, minCol, maxCol, minRow, maxRow, minPlan, maxPlan);
  auto const reach = [](long offset) { return static_cast<unsigned long>(std::max(offset, 0L)); };
  return {reach(-minCol), reach(maxCol), reach(-minRow), reach(maxRow), reach(-minPlan), reach(maxPlan)};
}

StructuringElement StructuringElement::getMirrored() const {
  Data const& data = getData();
  if (data.kind == ElementKinds::cLine) return line(data.size, turnAround(data.angle));
  if (data.kind == ElementKinds::cLine3d) return line3d(data.size, turnAround(data.angle), -data.elevation);
  if (data.kind != ElementKinds::cMask && data.kind != ElementKinds::cBox) return *this;
  auto mirrored = std::make_unique<Data>(data.kind, data.dimension);
  for (auto offset = data.offsets.rbegin(); offset != data.offsets.rend(); ++offset)
    mirrored->offsets.push_back({-offset->col, -offset->row, -offset->plan});
  return StructuringElement(mirrored.release());
}

ElementKinds StructuringElement::getKind() const { return getData().kind; }
int StructuringElement::getDimension() const { return getData().dimension; }
unsigned int StructuringElement::getNbNeighbours() const { return getData().nbNeighbours; }
unsigned int StructuringElement::getSize() const { return getData().size; }
ElementModes StructuringElement::getMode() const { return getData().mode; }
double StructuringElement::getAngle() const { return getData().angle; }
double StructuringElement::getElevation() const { return getData().elevation; }

bool operator==(StructuringElement const& a, StructuringElement const& b) {
  StructuringElement::Data const &x = a.getData(), &y = b.getData();
  return x.kind == y.kind && x.dimension == y.dimension && x.nbNeighbours == y.nbNeighbours && x.size == y.size &&
         x.mode == y.mode && x.angle == y.angle && x.elevation == y.elevation && x.radius == y.radius &&
         x.spacing == y.spacing && x.offsets == y.offsets;
}

}  // namespace pxl::kernel
