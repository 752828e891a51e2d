#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "oracle/Oracle.h"
#include "pxl/AlgoInfo.h"
#include "pxl/BaseAlgorithm.h"
#include "pxl/Image.h"
#include "pxl/Property.h"
#include "pxl/kernel/Kernel.h"
#include "pxl/kernel/StructuringElement.h"

/** Operators on random images, to be run by one runner and by another. */
namespace wide_test {

class Random : public oracle::Random {
 public:
  using oracle::Random::Random;
  bool oneIn(long count) { return number(1, count) == 1; }
  template <class T, std::size_t count>
  T const& oneOf(T const (&values)[count]) {
    return values[number(0, static_cast<long>(count) - 1)];
  }
};

#define PXLWORKS_TYPE(T) pxl::helper::DataTypeToVoxelTypeEnum<T>::cVoxelType,
constexpr pxl::VoxelTypes cTypes[] = {PXL_FOR_EACH_VOXEL_TYPE(PXLWORKS_TYPE)};
#undef PXLWORKS_TYPE

/** What reals are made of. */
enum class Specials { cNone, cFew, cMany };

template <class Real>
Real makeReal(Random& random, Specials specials) {
  constexpr Real cSpecials[] = {std::numeric_limits<Real>::quiet_NaN(),
                                -std::numeric_limits<Real>::quiet_NaN(),
                                std::numeric_limits<Real>::infinity(),
                                -std::numeric_limits<Real>::infinity(),
                                Real{0},
                                -Real{0}};
  long const oneInMany = specials == Specials::cMany ? 2 : 300;
  if (specials != Specials::cNone && random.oneIn(oneInMany)) return random.oneOf(cSpecials);
  return static_cast<Real>(random.number(-50, 50)) / 4 + Real{1} / 8;
}

/** An image with room between its rows, its voxels random and the room marked. */
struct RandomImage {
  RandomImage(Random& random, pxl::VoxelTypes type, pxl::ImageSizes const& sizes, Specials specials)
      : voxelType(type), imageSizes(sizes) {
    long const size = static_cast<long>(pxl::helper::getSizeOf(type));
    long stride = size;
    for (std::size_t d = 0; d < 5; ++d) {
      strides[d] = stride;
      stride = stride * static_cast<long>(sizes[d]) + (d < 4 && random.oneIn(3) ? size * random.number(1, 70) : 0);
    }
    bytes.assign(static_cast<std::size_t>(stride) + 64, static_cast<char>(random.number(0, 255)));
    for (std::size_t at = 0; at + 8 <= bytes.size(); at += static_cast<std::size_t>(size)) fill(random, at, specials);
  }

  std::shared_ptr<pxl::Image> makeImage() {
    auto image = pxl::Image::OnMemory(static_cast<void*>(bytes.data()), voxelType, imageSizes, strides);
    if (isBinary) image->setInterpretation(pxl::cBinary);
    return image;
  }

  bool isBinary = false;
  pxl::VoxelTypes voxelType;
  pxl::ImageSizes imageSizes;
  pxl::ImageStrides strides;
  std::vector<char> bytes;

 private:
  void fill(Random& random, std::size_t at, Specials specials) {
    if (voxelType == pxl::cFloat) {
      put(at, makeReal<float>(random, specials));
    } else if (voxelType == pxl::cDouble) {
      put(at, makeReal<double>(random, specials));
    } else {
      put(at, static_cast<std::uint32_t>(random.number(0, 0xffffffff)));
    }
  }
  template <class T>
  void put(std::size_t at, T value) {
    std::memcpy(&bytes[at], &value, sizeof(T));
  }
};

/** An operator with its properties but for images. */
inline std::unique_ptr<pxl::BaseAlgorithm> makeOperator(std::string const& name) {
  return pxl::AlgoInfo::find(name.c_str())->create();
}

/** Sets a property of this name and type. */
template <class T>
void setIfAny(pxl::BaseAlgorithm& algorithm, char const* name, T const& value) {
  pxl::PropertyBase* const property = algorithm.findProperty(name);
  if (auto* const typed = property ? pxl::asProperty<T>(*property) : nullptr) typed->set(value);
}

inline pxl::kernel::StructuringElement makeRandomElement(Random& random) {
  std::vector<long> const sizes{random.number(1, 9), random.number(1, 7), random.number(1, 4)};
  std::vector<long> origin;
  for (long size : sizes) origin.push_back(random.number(-3, size + 2));
  std::vector<unsigned char> mask(static_cast<std::size_t>(sizes[0] * sizes[1] * sizes[2]));
  long const oneInMany = random.number(1, 4);
  for (unsigned char& voxel : mask) voxel = random.oneIn(oneInMany);
  mask[static_cast<std::size_t>(random.number(0, static_cast<long>(mask.size()) - 1))] = 1;
  if (random.oneIn(6)) return pxl::kernel::StructuringElement::disk(static_cast<unsigned>(random.number(0, 9)));
  return pxl::kernel::StructuringElement::mask(mask.data(), sizes, origin);
}

/** Taps in any order, some of them more than once, or a box of them. */
template <class Kernel>
Kernel makeRandomKernel(Random& random) {
  constexpr bool isVolume = std::is_same_v<Kernel, pxl::kernel::Kernel3D>;
  long const planes = isVolume ? random.number(1, 4) : 1, rows = random.number(1, 7), cols = random.number(1, 7);
  bool const isBox = random.oneIn(2);
  std::vector<std::decay_t<decltype(Kernel().getOffsets()[0])>> offsets;
  std::vector<double> coefficients;
  long const row0 = random.number(-1, rows), col0 = random.number(-1, cols), plane0 = random.number(-1, planes);
  long const reach = random.oneIn(20) ? 200 : 10;
  auto const add = [&](long plane, long row, long col) {
    if constexpr (isVolume)
      offsets.push_back({col, row, plane});
    else
      offsets.push_back({col, row});
    long const kind = random.number(0, 19);
    coefficients.push_back(kind == 0 ? 0. : kind == 1 ? -0. : static_cast<double>(random.number(-900, 900)) / 700);
  };
  for (long plane = 0; plane < planes; ++plane)
    for (long row = 0; row < rows; ++row)
      for (long col = 0; col < cols; ++col) {
        if (isBox)
          add(plane - plane0, row - row0, col - col0);
        else if (random.oneIn(2) || offsets.empty())
          add(random.number(-3, 3), random.number(-reach, reach), random.number(-reach, reach));
      }
  return Kernel(offsets, coefficients);
}

/** Gives random values to whatever an operator has. */
inline void setRandomProperties(Random& random, pxl::BaseAlgorithm& algorithm, long maxSize) {
  auto const number = [&](long last) { return static_cast<unsigned int>(random.number(0, last)); };
  setIfAny(algorithm, "numberOfIterations", number(random.oneIn(4) ? maxSize : 6));
  setIfAny(algorithm, "neighborhood", static_cast<int>(random.number(0, 3)));
  setIfAny(algorithm, "radius", number(random.oneIn(8) ? maxSize / 2 : 6));
  setIfAny(algorithm, "shapeMode", static_cast<int>(random.number(0, 1)));
  setIfAny(algorithm, "lineSize", number(random.oneIn(3) ? maxSize : 20));
  for (char const* angle : {"lineAngle", "firstAngle", "secondAngle"})
    setIfAny(algorithm, angle, static_cast<double>(random.number(-24, 24)) * (random.oneIn(2) ? 15 : 7.3));
  setIfAny(algorithm, "logicalOperator", static_cast<int>(random.number(0, 6)));
  setIfAny(algorithm, "value", static_cast<unsigned int>(random.number(0, 0xffffffff)));
  setIfAny(algorithm, "analysisDimensions", static_cast<int>(random.number(0, 7)));
  setIfAny(algorithm, "kernel", makeRandomKernel<pxl::kernel::Kernel2D>(random));
  setIfAny(algorithm, "kernel", makeRandomKernel<pxl::kernel::Kernel3D>(random));
  if (algorithm.findProperty("element")) setIfAny(algorithm, "element", makeRandomElement(random));
}

}  // namespace wide_test
