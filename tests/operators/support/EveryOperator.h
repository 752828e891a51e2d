#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "instrument/ShippedPaths.h"
#include "pxl/AlgoInfo.h"
#include "pxl/BaseAlgorithm.h"
#include "pxl/Image.h"
#include "pxl/Plugins.h"
#include "pxl/Property.h"
#include "pxl/analysis/Measure.h"

/** Every operator of the host, ready to run on images of its own; made from the descriptions of the properties. */
namespace operators_test {

struct ReadyRun {
  std::unique_ptr<pxl::BaseAlgorithm> algorithm;
  std::vector<std::shared_ptr<pxl::Image>> inputs;
  std::shared_ptr<pxl::Image> output;  ///< null for an operator that measures
  std::vector<std::unique_ptr<pxl::analysis::Measure>> measures;
};

template <class T>
void setProperty(pxl::BaseAlgorithm& algorithm, char const* name, T value) {
  dynamic_cast<pxl::Property<T>&>(*algorithm.findProperty(name)).set(value);
}

template <class Kernel, class Offset>
Kernel makeKernel() {
  std::vector<Offset> offsets(3);
  offsets[0].col = -2;
  offsets[2].row = 1;
  return Kernel(offsets, {0.25, 0.5, -1.});
}

inline void setUp(ReadyRun& run, pxl::PropertyBase& property, pxl::VoxelTypes type, pxl::ImageSizes const& sizes) {
  pxl::visitProperty(property,
                     pxl::Overloaded{
                         [&](pxl::Property<pxl::ImageModel const*>& input) {
                           run.inputs.push_back(pxl::Image::New(type, sizes));
                           input.set(run.inputs.back().get());
                         },
                         [&](pxl::Property<pxl::ImageModel*>& output) {
                           run.output = pxl::Image::New(run.algorithm->getNaturalOutputType(type), sizes);
                           output.set(run.output.get());
                         },
                         [](pxl::Property<pxl::kernel::Kernel2D>& kernel) {
                           kernel.set(makeKernel<pxl::kernel::Kernel2D, pxl::kernel::Offset2D>());
                         },
                         [](pxl::Property<pxl::kernel::Kernel3D>& kernel) {
                           kernel.set(makeKernel<pxl::kernel::Kernel3D, pxl::kernel::Offset3D>());
                         },
                         [](pxl::Property<pxl::kernel::StructuringElement>& element) {
                           element.set(pxl::kernel::StructuringElement::parse("mask(1 1 | 0 1)"));
                         },
                         [&](pxl::MeasureProperty& measure) { run.measures.push_back(measure.makeMeasure()); },
                         [](pxl::Property<unsigned int>& number) {
                           if (!number.isSet()) number.set(170);
                         },
                         [](pxl::PropertyBase& other) { EXPECT_TRUE(other.isSet()) << other.getName(); },
                     });
}

inline ReadyRun makeRun(pxl::AlgoInfo const& record, pxl::ImageSizes const& sizes,
                        pxl::VoxelTypes type = pxl::cUnsignedInteger16) {
  ReadyRun run;
  run.algorithm = record.create();
  for (pxl::PropertyBase* property : run.algorithm->getProperties()) setUp(run, *property, type, sizes);
  return run;
}

/** A test for each operator by its name, with the shipped plug-ins in the instrumented host. */
class EveryOperator : public testing::TestWithParam<std::string> {
 protected:
  static void SetUpTestSuite() {
    pxl::plugins::load(shipped::getPlugin());
    pxl::plugins::load(shipped::getElements());
  }
  static ReadyRun makeRun(pxl::ImageSizes const& sizes, pxl::VoxelTypes type = pxl::cUnsignedInteger16) {
    return operators_test::makeRun(*pxl::AlgoInfo::find(GetParam().c_str()), sizes, type);
  }
};

inline std::vector<std::string> getOperatorNames() {
  std::vector<std::string> names;
  for (pxl::AlgoInfo const* record : pxl::AlgoInfo::getAll()) names.emplace_back(record->getName());
  return names;
}

#define PXLWORKS_FOR_EVERY_OPERATOR(Suite)                                                   \
  INSTANTIATE_TEST_SUITE_P(Of, Suite, testing::ValuesIn(operators_test::getOperatorNames()), \
                           [](auto const& name) { return name.param; })

}  // namespace operators_test
