#pragma once

#include <memory>
#include <string>

#include "oracle/Shapes.h"
#include "pxl/AlgoInfo.h"
#include "pxl/morphology/ElementMorphology.h"
#include "support/Runs.h"

/** The operators with any element, and what they should give by plain loops. */
namespace elements_test {

using morphology_test::areEqual;
using morphology_test::toOracle;
using oracle::Five;
using oracle::OffsetList;
using oracle::Operation;
using pxl::kernel::StructuringElement;
using pxl::morphology::ElementMorphology;

/** Both shipped plug-ins in the instrumented host. */
class ElementTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    pxl::plugins::load(PXLWORKS_PLUGIN_PATH);
    pxl::plugins::load(PXLWORKS_ELEMENTS_PATH);
  }
};

/** A composition; gradients are three. */
struct Way {
  char const* name;
  int gradientMode = pxl::morphology::cFullGradient;
};

constexpr Way cWays[] = {{"Dilate"},      {"Erode"},       {"Open"},        {"Close"},      {"WhiteTopHat"},
                         {"BlackTopHat"}, {"Gradient", 0}, {"Gradient", 1}, {"Gradient", 2}};

inline bool isDifference(Way const& way) {
  return std::string(way.name).find("TopHat") != std::string::npos || way.name == std::string("Gradient");
}

inline std::unique_ptr<ElementMorphology> makeAlgorithm(Way const& way, StructuringElement const& element,
                                                        pxl::ImageModel const* input, pxl::ImageModel* output) {
  auto made = pxl::AlgoInfo::find(way.name)->create();
  std::unique_ptr<ElementMorphology> algorithm(&dynamic_cast<ElementMorphology&>(*made.release()));
  algorithm->inputImage = input;
  algorithm->outputImage = output;
  algorithm->element = element;
  if (auto* const gradient = dynamic_cast<pxl::morphology::Gradient*>(algorithm.get()))
    gradient->gradientMode = way.gradientMode;
  return algorithm;
}

inline OffsetList listOf(StructuringElement const& element) {
  OffsetList list;
  for (auto const& offset : element.getOffsets()) list.push_back({offset.col, offset.row, offset.plan});
  return list;
}

inline OffsetList mirror(OffsetList list) {
  for (oracle::Offset& offset : list) offset = {-offset[0], -offset[1], -offset[2]};
  return list;
}

template <class T>
oracle::Image<T> dilate(oracle::Image<T> const& image, OffsetList const& list) {
  return oracle::applyVolumeList(image, Operation::cDilation, list);
}
template <class T>
oracle::Image<T> erode(oracle::Image<T> const& image, OffsetList const& list) {
  return oracle::applyVolumeList(image, Operation::cErosion, list);
}
template <class T>
oracle::Image<T> open(oracle::Image<T> const& image, OffsetList const& list) {
  return dilate(erode(image, list), mirror(list));
}
template <class T>
oracle::Image<T> close(oracle::Image<T> const& image, OffsetList const& list) {
  return erode(dilate(image, list), mirror(list));
}

/** The type of a difference: unsigned for signed integers. */
template <class T, bool = std::is_integral_v<T>>
struct DifferenceOf {
  using Type = std::make_unsigned_t<T>;
};
template <class T>
struct DifferenceOf<T, false> {
  using Type = T;
};
template <class T>
using Difference = typename DifferenceOf<T>::Type;

/** What is below 0 is 0. Integers in 64 bit. */
template <class T>
oracle::Image<Difference<T>> subtract(oracle::Image<T> const& from, oracle::Image<T> const& what) {
  using Wide = std::conditional_t<std::is_integral_v<T>, long, T>;
  oracle::Image<Difference<T>> result(from.sizes);
  for (unsigned long i = 0; i < from.voxels.size(); ++i) {
    Wide difference = static_cast<Wide>(from.voxels[i]) - static_cast<Wide>(what.voxels[i]);
    if (difference < 0) difference = 0;
    result.voxels[i] = static_cast<Difference<T>>(difference);
    if constexpr (std::is_integral_v<T>) {
      EXPECT_EQ(static_cast<long>(result.voxels[i]), difference) << "the difference has no room in its type";
    }
  }
  return result;
}

/** What a composition without a difference gives. */
template <class T>
oracle::Image<T> getExpected(Way const& way, oracle::Image<T> const& image, OffsetList const& list) {
  std::string const name = way.name;
  if (name == "Dilate") return dilate(image, list);
  if (name == "Erode") return erode(image, list);
  return name == "Open" ? open(image, list) : close(image, list);
}

/** What one with a difference gives. */
template <class T>
oracle::Image<Difference<T>> getExpectedDifference(Way const& way, oracle::Image<T> const& image,
                                                   OffsetList const& list) {
  std::string const name = way.name;
  if (name == "WhiteTopHat") return subtract(image, open(image, list));
  if (name == "BlackTopHat") return subtract(close(image, list), image);
  return subtract(way.gradientMode == 2 ? image : dilate(image, list),
                  way.gradientMode == 1 ? image : erode(image, list));
}

/** The output of a run. An output apart from the input starts as zeros. */
template <class Out, class T>
oracle::Image<Out> run(Way const& way, StructuringElement const& element, oracle::Image<T> const& image,
                       bool isInPlace, int interpretation = pxl::cGrey) {
  auto const input = oracle::toHost(image, interpretation);
  auto const output = isInPlace ? input : oracle::toHost(oracle::Image<Out>(image.sizes), interpretation);
  makeAlgorithm(way, element, input.get(), output.get())->execute();
  if (!isInPlace) {
    EXPECT_TRUE(areEqual(toOracle<T>(*input, image.sizes), image)) << "the input was changed";
  }
  return toOracle<Out>(*output, image.sizes);
}

/** Runs a composition apart and, where types allow it, in place, and compares with what it should give. */
template <class T>
testing::AssertionResult isRight(Way const& way, StructuringElement const& element, oracle::Image<T> const& image) {
  OffsetList const list = listOf(element);
  for (bool isInPlace : {false, true}) {
    testing::AssertionResult result = testing::AssertionSuccess();
    if (!isDifference(way))
      result = areEqual(run<T>(way, element, image, isInPlace), getExpected(way, image, list));
    else if (!isInPlace || std::is_same_v<T, Difference<T>>)
      result = areEqual(run<Difference<T>>(way, element, image, isInPlace), getExpectedDifference(way, image, list));
    if (!result)
      return testing::AssertionFailure()
             << way.name << ' ' << way.gradientMode << " with " << element.toString().c_str()
             << (isInPlace ? " in place: " : ": ") << result.message();
  }
  return testing::AssertionSuccess();
}

/** A random mask, with at least one voxel; its origin may lie outside. */
inline StructuringElement makeMask(oracle::Random& random, int dimension, bool hasAnyOrigin) {
  std::vector<long> sizes, origin;
  long count = 1;
  for (int d = 0; d < dimension; ++d) {
    sizes.push_back(random.number(1, 4));
    origin.push_back(hasAnyOrigin ? random.number(-3, 6) : sizes.back() / 2);
    count *= sizes.back();
  }
  std::vector<unsigned char> array(static_cast<unsigned long>(count));
  for (unsigned char& voxel : array) voxel = random.number(0, 1) == 1;
  array[static_cast<unsigned long>(random.number(0, count - 1))] = 1;
  return StructuringElement::mask(array.data(), sizes, origin);
}

}  // namespace elements_test
