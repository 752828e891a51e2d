#include <gtest/gtest.h>

#include <set>

#include "pxl/AlgoInfo.h"
#include "pxl/analysis/IntensityExtrema.h"
#include "pxl/filtering/linear/FiniteImpulseResponseFilter.h"
#include "pxl/morphology/ElementMorphology.h"
#include "pxl/morphology/Morphology.h"
#include "pxl/point_operations/LogicalOperation.h"

namespace {

using namespace pxl;
using namespace pxl::analysis;
using namespace pxl::filtering::linear;
using namespace pxl::morphology;
using namespace pxl::point_operations;

TEST(Operators, EachHaveARecordThatMakesThem) {
  auto const& records = AlgoInfo::getAll();
  EXPECT_GE(records.size(), 19u);
  std::set<AlgoInfo*> distinct;
  std::set<std::string> names;
  for (AlgoInfo* const record : records) {
    ASSERT_NE(record, nullptr);
    distinct.insert(record);
    names.insert(record->getName());
    EXPECT_EQ(AlgoInfo::find(record->getName()), record);
    EXPECT_GT(std::string(record->getCategory()).size(), 3u);
    EXPECT_GT(std::string(record->getHelp()).size(), 10u);
    auto const made = record->create();
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->getAlgoInfo(), record);
    EXPECT_NE(record->create().get(), made.get());
  }
  EXPECT_EQ(distinct.size(), records.size());
  EXPECT_EQ(names.size(), records.size());
  EXPECT_EQ(AlgoInfo::find("dilation2d"), nullptr);
  EXPECT_EQ(AlgoInfo::find(""), nullptr);
  EXPECT_EQ(AlgoInfo::find(nullptr), nullptr);
  EXPECT_EQ(&AlgoInfo::getAll(), &records);
}

TEST(Operators, OfTheHostAreComposed) {
  std::set<std::string> const composed{"Dilate", "Erode", "Open", "Close", "WhiteTopHat", "BlackTopHat", "Gradient"};
  for (AlgoInfo const* const record : AlgoInfo::getAll()) {
    bool const isComposed = composed.count(record->getName()) == 1;
    EXPECT_EQ(record->isComposed(), isComposed) << record->getName();
    EXPECT_EQ(record->getRunners().size(), isComposed ? 1u : 0u) << record->getName();
  }
}

TEST(Operators, AreToldApartByTheirTypes) {
  std::unique_ptr<BaseAlgorithm> const made = AlgoInfo::find("Erosion2d")->create();
  EXPECT_NE(dynamic_cast<Erosion2d*>(made.get()), nullptr);
  EXPECT_NE(dynamic_cast<IteratedMorphology*>(made.get()), nullptr);
  EXPECT_EQ(dynamic_cast<Dilation2d*>(made.get()), nullptr);
  EXPECT_EQ(made->getAlgoInfo(), Erosion2d::getClassInfo());
  EXPECT_EQ(made->findProperty("radius"), nullptr);
  EXPECT_EQ(made->findProperty(nullptr), nullptr);
}

TEST(Properties, GiveTheValueLastSet) {
  LogicalOperationWithValue a;
  for (unsigned int const value : {5u, 0u, ~0u}) {
    a.value = value;
    EXPECT_TRUE(a.value.isSet());
    EXPECT_EQ(a.value.get(), value);
    unsigned int const converted = a.value;
    EXPECT_EQ(converted, value);
  }
  a.value.set(17);
  EXPECT_EQ(a.value.get(), 17u);
  a.logicalOperator = -4;
  EXPECT_EQ(a.logicalOperator.get(), -4);
  EXPECT_EQ(a.logicalOperator.getDefault(), 0);
  IntensityExtremaMsr measure;
  IntensityExtrema b;
  b.outputMeasure = &measure;
  EXPECT_EQ(static_cast<IntensityExtremaMsr*>(b.outputMeasure), &measure);
  EXPECT_TRUE(b.outputMeasure.isSet());
  b.outputMeasure = nullptr;
  EXPECT_FALSE(b.outputMeasure.isSet());
  double const one = 1;
  FiniteImpulseResponseFilter2D c;
  c.kernel = kernel::Kernel2D(&one, 1, 1);
  EXPECT_TRUE(c.kernel.isSet());
  EXPECT_EQ(c.kernel.get().getCoefficients(), std::vector<double>{1});
  c.kernel = kernel::Kernel2D();
  EXPECT_FALSE(c.kernel.isSet());
  Open e;
  EXPECT_FALSE(e.element.isSet());
  e.element = kernel::StructuringElement::ball(3);
  EXPECT_TRUE(e.element.isSet());
  EXPECT_EQ(e.element.get(), kernel::StructuringElement::ball(3));
  e.element = kernel::StructuringElement();
  EXPECT_FALSE(e.element.isSet());
  DilationLine2d d;
  d.lineAngle = -0.1;
  EXPECT_EQ(d.lineAngle.get(), -0.1);
}

}  // namespace
