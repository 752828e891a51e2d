#pragma once

#include <memory>
#include <string>

#include "elements/support/CompositionOracle.h"
#include "instrument/ShippedPaths.h"
#include "pxl/AlgoInfo.h"
#include "pxl/morphology/ElementMorphology.h"
#include "support/Runs.h"

/** The operators with any element, and what they should give by plain loops. */
namespace elements_test {

using morphology_test::areEqual;
using morphology_test::toOracle;
using oracle::close;
using oracle::Difference;
using oracle::dilate;
using oracle::erode;
using oracle::Five;
using oracle::mirror;
using oracle::OffsetList;
using oracle::open;
using oracle::Operation;
using oracle::subtract;
using pxl::kernel::StructuringElement;
using pxl::morphology::ElementMorphology;

/** Both shipped plug-ins in the instrumented host. */
class ElementTest : public testing::Test {
 protected:
  ElementTest() {
    pxl::plugins::load(shipped::getPlugin());
    pxl::plugins::load(shipped::getElements());
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
