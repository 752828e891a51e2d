#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "RandomCase.h"
#include "host/support/PluginLoading.h"
#include "instrument/Sanitized.h"
#include "instrument/ShippedPaths.h"
#include "pxl/Exception.h"
#include "pxl/Plugins.h"
#include "pxl/analysis/IntensityExtrema.h"
#include "pxl/kernel/Kernel.h"

/** Runs of one operator by two runners, compared byte by byte, with what lies between the rows. */
namespace wide_test {

constexpr char const* cTargets[] = {"sse4", "avx2", "avx512"};

inline void loadPlugins() {
  host_test::RunnersMayStay const mayStay;  // a test unloads a plug-in
  for (std::string const& path : {shipped::getPlugin(), shipped::getElements(), shipped::getWide()})
    pxl::plugins::load(path);
}

/** What an operator runs on. */
struct RandomImages {
  RandomImages(Random& random, std::string const& operatorName, pxl::VoxelTypes type, pxl::ImageSizes const& sizes,
               Specials specials)
      : output(random, type, sizes, specials) {
    inputs.emplace_back(random, type, sizes, specials);
    if (operatorName == "LogicalOperationWithImage") inputs.emplace_back(random, type, sizes, specials);
  }

  std::vector<RandomImage> inputs;
  RandomImage output;
  long inPlace = -1;  ///< the input that is the output, too
};

inline void append(std::vector<char>& bytes, pxl::analysis::MeasureArray const& array) {
  for (unsigned long i0 = 0; i0 < array.getSize(0); ++i0)
    for (unsigned long i1 = 0; i1 < array.getSize(1); ++i1)
      for (unsigned long i2 = 0; i2 < array.getSize(2); ++i2) {
        double const value = array.getValue(i0, i1, i2);
        char const* const begin = reinterpret_cast<char const*>(&value);
        bytes.insert(bytes.end(), begin, begin + sizeof value);
      }
}

/** The bytes of the output, or the numbers of the measure, of a run on copies of images. */
inline std::vector<char> runBy(char const* runner, pxl::BaseAlgorithm& algorithm, RandomImages images) {
  std::vector<std::shared_ptr<pxl::Image>> inputs;
  for (RandomImage& input : images.inputs) inputs.push_back(input.makeImage());
  auto const output =
      images.inPlace < 0 ? images.output.makeImage() : inputs[static_cast<std::size_t>(images.inPlace)];
  setIfAny<pxl::ImageModel const*>(algorithm, "inputImage", inputs.front().get());
  setIfAny<pxl::ImageModel const*>(algorithm, "inputImage1", inputs.front().get());
  setIfAny<pxl::ImageModel const*>(algorithm, "inputImage2", inputs.back().get());
  setIfAny<pxl::ImageModel*>(algorithm, "outputImage", output.get());
  pxl::analysis::IntensityExtremaMsr measure;
  auto* const extrema = dynamic_cast<pxl::analysis::IntensityExtrema*>(&algorithm);
  if (extrema) extrema->outputMeasure = &measure;
  algorithm.setRunner(runner);
  algorithm.execute();
  if (!extrema)
    return images.inPlace < 0 ? images.output.bytes : images.inputs[static_cast<std::size_t>(images.inPlace)].bytes;
  std::vector<char> numbers;
  append(numbers, measure.minimum);
  append(numbers, measure.maximum);
  return numbers;
}

inline std::string describe(pxl::BaseAlgorithm const& algorithm, RandomImages const& images) {
  RandomImage const& image = images.output;
  std::ostringstream text;
  text << algorithm.getAlgoInfo()->getName() << ' ' << pxl::helper::getNameOf(image.voxelType);
  for (unsigned long size : image.imageSizes) text << ' ' << size;
  for (pxl::PropertyBase* property : algorithm.getProperties()) {
    if (auto const* number = pxl::asProperty<unsigned int>(*property))
      text << ", " << number->getName() << ' ' << number->get();
    if (auto const* choice = pxl::asProperty<int>(*property))
      text << ", " << choice->getName() << ' ' << choice->get();
    if (auto const* real = pxl::asProperty<double>(*property)) text << ", " << real->getName() << ' ' << real->get();
    if (auto const* kernel = pxl::asProperty<pxl::kernel::Kernel2D>(*property))
      text << ", " << kernel->get().getOffsets().size() << " taps";
    if (auto const* kernel = pxl::asProperty<pxl::kernel::Kernel3D>(*property))
      text << ", " << kernel->get().getOffsets().size() << " taps";
    if (auto const* element = pxl::asProperty<pxl::kernel::StructuringElement>(*property))
      text << ", " << element->get().toString().str();
  }
  text << (image.isBinary ? ", binary" : "") << (images.inPlace < 0 ? "" : ", in place");
  return text.str();
}

// Which of two NaN a sum keeps depends on the order of its operands, which the compiler chooses in the runners
// `sse41`; it is the order of the source where they are optimised as they are shipped.
inline bool isAnyNanTaken() {
#ifdef PXLWORKS_DEBUG
  return true;
#else
  return host_test::isSanitized();
#endif
}

/** Whether results have the same bytes; where isAnyNanTaken() one NaN is as good as another. */
inline bool areEqual(std::vector<char> const& a, std::vector<char> const& b, pxl::VoxelTypes type) {
  if (a == b) return true;
  if (!isAnyNanTaken()) return false;
  auto const areEqualReals = [&](auto real) {
    if (a.size() != b.size()) return false;
    for (std::size_t at = 0; at + sizeof real <= a.size(); at += sizeof real) {
      auto other = real;
      std::memcpy(&real, &a[at], sizeof real);
      std::memcpy(&other, &b[at], sizeof real);
      if (std::memcmp(&real, &other, sizeof real) != 0 && !(std::isnan(real) && std::isnan(other))) return false;
    }
    return true;
  };
  if (type == pxl::cFloat) return areEqualReals(0.F);
  if (type == pxl::cDouble) return areEqualReals(0.);
  return false;
}

/** Expects the bytes of `sse41` from `wide`. */
inline ::testing::AssertionResult isSame(pxl::BaseAlgorithm& algorithm, RandomImages const& images) {
  std::vector<char> const expected = runBy("sse41", algorithm, images);
  std::vector<char> const computed = runBy("wide", algorithm, images);
  if (areEqual(expected, computed, images.output.voxelType)) return ::testing::AssertionSuccess();
  std::size_t at = 0, count = 0;
  for (std::size_t i = expected.size(); i-- > 0;)
    if (expected[i] != computed[i]) {
      at = i;
      ++count;
    }
  auto const hex = [&](std::vector<char> const& bytes) {
    std::ostringstream text;
    bool const isMeasure = algorithm.findProperty("outputMeasure");
    std::size_t const size = isMeasure ? 8 : pxl::helper::getSizeOf(images.output.voxelType);
    for (std::size_t i = at / size * size; i < at / size * size + size; ++i)
      text << std::hex << (bytes[i] >> 4 & 15) << (bytes[i] & 15);
    return text.str();
  };
  return ::testing::AssertionFailure() << describe(algorithm, images) << ": " << count
                                       << " bytes differ, the first of them number " << at << ": " << hex(computed)
                                       << ", expected " << hex(expected);
}

}  // namespace wide_test
