#pragma once

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "operators/support/EveryOperator.h"
#include "oracle/Oracle.h"
#include "pxl/Image.h"
#include "pxl/kernel/Margins.h"

/** Random properties, voxels and boxes for any operator; voxels are compared as bytes. */
namespace operators_test {

using Bytes = std::vector<char>;

constexpr pxl::VoxelTypes cAllTypes[] = {pxl::cUnsignedInteger8,
                                         pxl::cUnsignedInteger16,
                                         pxl::cUnsignedInteger32,
                                         pxl::cInteger8,
                                         pxl::cInteger16,
                                         pxl::cInteger32,
                                         pxl::cFloat,
                                         pxl::cDouble};

/** Begin and end in the order of the components. */
struct Box {
  oracle::Five begin;
  oracle::Five end;

  long size(std::size_t d) const { return end[d] - begin[d]; }
  pxl::access::Region toRegion() const {
    return {begin[1], end[1], begin[0], end[0], begin[2], end[2], begin[3], end[3], begin[4], end[4]};
  }
  std::string toString() const {
    std::string text;
    for (std::size_t d = 0; d < 5; ++d) text += std::to_string(begin[d]) + ":" + std::to_string(end[d]) + " ";
    return text;
  }
};

inline oracle::Five getSizes(pxl::Image const& image) {
  oracle::Five sizes;
  for (std::size_t d = 0; d < 5; ++d) sizes[d] = static_cast<long>(image.getSizes()[d]);
  return sizes;
}

inline pxl::ImageSizes toHostSizes(oracle::Five const& sizes) {
  pxl::ImageSizes result;
  for (std::size_t d = 0; d < 5; ++d) result[d] = static_cast<unsigned long>(sizes[d]);
  return result;
}

inline pxl::ImageSizes sizesOf(Box const& box) {
  return toHostSizes({box.size(0), box.size(1), box.size(2), box.size(3), box.size(4)});
}

/** A box of at least one voxel, often of one in some dimension, or the whole dimension. */
inline Box makeBox(oracle::Random& random, oracle::Five const& sizes) {
  Box box;
  for (std::size_t d = 0; d < 5; ++d) {
    long const kind = random.number(0, 4);
    box.begin[d] = kind == 0 ? 0 : random.number(0, sizes[d] - 1);
    box.end[d] = kind == 0 ? sizes[d] : kind == 1 ? box.begin[d] + 1 : random.number(box.begin[d] + 1, sizes[d]);
  }
  return box;
}

inline Box enlarge(Box box, pxl::kernel::Margins const& margins, oracle::Five const& sizes) {
  unsigned long const reach[3][2] = {{margins.colsBefore, margins.colsAfter},
                                     {margins.rowsBefore, margins.rowsAfter},
                                     {margins.plansBefore, margins.plansAfter}};
  for (std::size_t d = 0; d < 3; ++d) {
    box.begin[d] = std::max(0L, box.begin[d] - static_cast<long>(reach[d][0]));
    box.end[d] = std::min(sizes[d], box.end[d] + static_cast<long>(reach[d][1]));
  }
  return box;
}

/** Where a box lies in one that contains it. */
inline Box moveInto(Box box, Box const& outer) {
  for (std::size_t d = 0; d < 5; ++d) {
    box.begin[d] -= outer.begin[d];
    box.end[d] -= outer.begin[d];
  }
  return box;
}

/** The voxels of a box, packed. */
inline Bytes take(pxl::Image const& image, Box const& box) {
  unsigned long const voxelBytes = pxl::helper::getSizeOf(image.getVoxelType());
  auto const storage = image.getSource().storage;
  Bytes bytes;
  oracle::forEachPosition({1, box.size(1), box.size(2), box.size(3), box.size(4)}, [&](oracle::Five const& p) {
    unsigned long position[5];
    for (std::size_t d = 0; d < 5; ++d) position[d] = static_cast<unsigned long>(box.begin[d] + p[d]);
    auto const count = static_cast<unsigned long>(box.size(0));
    bytes.resize(bytes.size() + count * voxelBytes);
    storage->readRun(bytes.data() + bytes.size() - count * voxelBytes, count, position);
  });
  return bytes;
}

inline Box wholeOf(pxl::Image const& image) { return {{0, 0, 0, 0, 0}, getSizes(image)}; }
inline Bytes takeAll(pxl::Image const& image) { return take(image, wholeOf(image)); }
inline void put(pxl::Image& image, Bytes const& bytes) { std::memcpy(image.getVoxels(), bytes.data(), bytes.size()); }

/** Any values; of reals also NaN, infinities, zeros of both signs and the ends of the range. */
template <class T>
void fillAs(T* voxels, unsigned long count, oracle::Random& random) {
  using Limits = std::numeric_limits<T>;
  bool const hasSpecial = random.number(0, 1) == 0;
  for (unsigned long i = 0; i < count; ++i) {
    voxels[i] = random.voxel<T>();
    if constexpr (std::is_floating_point_v<T>) {
      T const special[] = {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), T(0), -T(0),
                           Limits::max(),       Limits::lowest()};
      if (hasSpecial && random.number(0, 5) == 0) voxels[i] = special[random.number(0, 6)];
    }
  }
}

inline void fill(pxl::Image& image, oracle::Random& random) {
  pxl::ImageSizes const n = image.getSizes();
  unsigned long const count = n[0] * n[1] * n[2] * n[3] * n[4];
#define PXLWORKS_FILL(T)                                                           \
  if (image.getVoxelType() == pxl::helper::DataTypeToVoxelTypeEnum<T>::cVoxelType) \
    fillAs(static_cast<T*>(image.getVoxels()), count, random);
  PXL_FOR_EACH_VOXEL_TYPE(PXLWORKS_FILL)
#undef PXLWORKS_FILL
}

template <class Offset>
Offset makeOffset(oracle::Random& random) {
  Offset offset{};
  offset.col = random.number(-2, 5);
  offset.row = random.number(-3, 1);
  return offset;
}

template <class Kernel, class Offset>
Kernel makeRandomKernel(oracle::Random& random) {
  std::vector<Offset> offsets;
  std::vector<double> coefficients;
  for (long i = random.number(1, 6); i > 0; --i) {
    offsets.push_back(makeOffset<Offset>(random));
    if constexpr (std::is_same_v<Offset, pxl::kernel::Offset3D>) offsets.back().plan = random.number(-1, 2);
    coefficients.push_back(static_cast<double>(random.number(-8, 8)) / 4);
  }
  return Kernel(offsets, coefficients);
}

/** A random element of any kind; it reaches a few voxels. */
inline pxl::kernel::StructuringElement makeRandomElement(oracle::Random& random, bool holdsItself) {
  auto const number = [&random](long low, long high) { return std::to_string(random.number(low, high)); };
  auto const angle = [&number] { return number(-180, 180); };
  switch (random.number(0, 8)) {
    case 0: {
      char const* const neighbours[] = {"4", "8", "6", "18", "26"};
      return pxl::kernel::StructuringElement::parse("connectivity(" + std::string(neighbours[random.number(0, 4)]) +
                                                    ", " + number(0, 3) + ")");
    }
    case 1:
      return pxl::kernel::StructuringElement::parse("disk(" + number(0, 3) +
                                                    (random.number(0, 1) == 0 ? ", fast)" : ")"));
    case 2:
      return pxl::kernel::StructuringElement::parse("ball(" + number(0, 3) +
                                                    (random.number(0, 1) == 0 ? ", fast)" : ")"));
    case 3:
      return pxl::kernel::StructuringElement::parse("line(" + number(1, 8) + ", " + angle() + ")");
    case 4:
      return pxl::kernel::StructuringElement::parse("line3d(" + number(1, 8) + ", " + angle() + ", " + angle() + ")");
    case 5:
      return pxl::kernel::StructuringElement::parse("disk3d(" + number(1, 3) + ", " + angle() + ", " + angle() + ")");
    case 6:
      return pxl::kernel::StructuringElement::parse("ellipsoid(" + number(0, 4) + ", 2.5, 1, 1.25)");
    case 7:
      return pxl::kernel::StructuringElement::box({random.number(1, 3), random.number(1, 5), random.number(1, 6)});
    default:
      break;
  }
  unsigned char array[12];
  for (unsigned char& voxel : array) voxel = random.number(0, 1) == 1;
  std::vector<long> origin{random.number(-1, 2), random.number(-1, 2), random.number(-1, 3)};
  if (holdsItself) origin = {1, 1, 1};
  array[holdsItself ? 10 : random.number(0, 11)] = 1;
  return pxl::kernel::StructuringElement::mask(array, {2, 2, 3}, origin);
}

/** Random values for all properties but the images. */
inline void chooseProperties(pxl::BaseAlgorithm& algorithm, oracle::Random& random) {
  auto const choose = [&](char const* name, long low, long high) {
    if (!algorithm.findProperty(name)) return;
    long const number = random.number(low, high);
    if (auto* const p = dynamic_cast<pxl::Property<int>*>(algorithm.findProperty(name)))
      return p->set(static_cast<int>(number));
    setProperty(algorithm, name, static_cast<unsigned int>(number));
  };
  choose("numberOfIterations", 0, 4);
  choose("neighborhood", 0, 2);
  choose("radius", 0, 4);
  choose("shapeMode", 0, 1);
  choose("lineSize", 0, 9);
  choose("analysisDimensions", 0, 7);
  choose("logicalOperator", 0, 6);
  choose("value", 0, 255);
  choose("gradientMode", 0, 2);
  for (char const* name : {"lineAngle", "firstAngle", "secondAngle"})
    if (algorithm.findProperty(name))
      setProperty(algorithm, name, static_cast<double>(random.number(-24, 24)) * (random.number(0, 1) ? 15 : 7.3));
  for (pxl::PropertyBase* property : algorithm.getProperties()) {
    using namespace pxl::kernel;
    if (auto* const element = dynamic_cast<pxl::Property<StructuringElement>*>(property))
      element->set(makeRandomElement(random, algorithm.findProperty("gradientMode") != nullptr));
    if (auto* const kernel2d = dynamic_cast<pxl::Property<Kernel2D>*>(property))
      kernel2d->set(makeRandomKernel<Kernel2D, Offset2D>(random));
    if (auto* const kernel3d = dynamic_cast<pxl::Property<Kernel3D>*>(property))
      kernel3d->set(makeRandomKernel<Kernel3D, Offset3D>(random));
  }
}

/** The same run on images of other sizes: fresh ones, and the properties of `model`. */
inline ReadyRun makeAlike(pxl::BaseAlgorithm const& model, pxl::ImageSizes const& sizes, pxl::VoxelTypes type) {
  ReadyRun run = makeRun(*model.getAlgoInfo(), sizes, type);
  for (pxl::PropertyBase* property : run.algorithm->getProperties()) {
    bool const isResult = property->getKind() == pxl::PropertyKinds::cMeasure;
    bool const isImage = property->getKind() == pxl::PropertyKinds::cInputImage ||
                         property->getKind() == pxl::PropertyKinds::cOutputImage;
    if (!isResult && !isImage) property->assign(*model.findProperty(property->getName()));
  }
  return run;
}

/** Whether a runner takes voxels of this type. */
inline bool takesType(std::string const& name, pxl::VoxelTypes type) {
  return name.compare(0, 7, "Logical") != 0 || (type != pxl::cFloat && type != pxl::cDouble);
}

}  // namespace operators_test
