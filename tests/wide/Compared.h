#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "RandomCase.h"
#include "pxl/Exception.h"
#include "pxl/Plugins.h"

/** Runs of one operator by two runners, compared byte by byte, with what lies between the rows. */
namespace wide_test {

inline void loadPlugins() {
  for (char const* path : {PXLWORKS_PLUGIN_PATH, PXLWORKS_ELEMENTS_PATH, PXLWORKS_WIDE_PATH})
    pxl::plugins::load(path);
}

/** A run on copies of images. In place where `output` is null. */
inline std::vector<char> runBy(char const* runner, pxl::BaseAlgorithm& algorithm, RandomImage input,
                               RandomImage const* output) {
  RandomImage result = output ? *output : input;
  auto const source = output ? input.makeImage() : result.makeImage();
  auto const target = output ? result.makeImage() : source;
  setIfAny<pxl::ImageModel const*>(algorithm, "inputImage", source.get());
  setIfAny<pxl::ImageModel*>(algorithm, "outputImage", target.get());
  algorithm.setRunner(runner);
  algorithm.execute();
  return result.bytes;
}

inline std::string describe(pxl::BaseAlgorithm const& algorithm, RandomImage const& image, bool isInPlace) {
  std::ostringstream text;
  text << algorithm.getAlgoInfo()->getName() << ' ' << pxl::helper::getNameOf(image.voxelType);
  for (unsigned long size : image.imageSizes) text << ' ' << size;
  for (pxl::PropertyBase* property : algorithm.getProperties()) {
    if (auto const* number = pxl::asProperty<unsigned int>(*property))
      text << ", " << number->getName() << ' ' << number->get();
    if (auto const* choice = pxl::asProperty<int>(*property))
      text << ", " << choice->getName() << ' ' << choice->get();
    if (auto const* real = pxl::asProperty<double>(*property)) text << ", " << real->getName() << ' ' << real->get();
    if (auto const* element = pxl::asProperty<pxl::kernel::StructuringElement>(*property))
      text << ", " << element->get().toString().str();
  }
  text << (isInPlace ? ", in place" : "");
  return text.str();
}

/** Expects the bytes of `sse41` from `wide`. */
inline ::testing::AssertionResult isSame(pxl::BaseAlgorithm& algorithm, RandomImage const& input,
                                         RandomImage const* output) {
  std::vector<char> const expected = runBy("sse41", algorithm, input, output);
  std::vector<char> const computed = runBy("wide", algorithm, input, output);
  if (expected == computed) return ::testing::AssertionSuccess();
  std::size_t at = 0, count = 0;
  for (std::size_t i = expected.size(); i-- > 0;)
    if (expected[i] != computed[i]) {
      at = i;
      ++count;
    }
  auto const hex = [&](std::vector<char> const& bytes) {
    std::ostringstream text;
    std::size_t const size = pxl::helper::getSizeOf(input.voxelType);
    for (std::size_t i = at / size * size; i < at / size * size + size; ++i)
      text << std::hex << (bytes[i] >> 4 & 15) << (bytes[i] & 15);
    return text.str();
  };
  return ::testing::AssertionFailure() << describe(algorithm, input, !output) << ": " << count
                                       << " bytes differ, the first of them number " << at << ": " << hex(computed)
                                       << ", expected " << hex(expected);
}

}  // namespace wide_test
