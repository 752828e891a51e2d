#include <gtest/gtest.h>

#include <set>

#include "pxl/AlgoInfo.h"
#include "pxl/Exception.h"
#include "pxl/analysis/IntensityExtrema.h"
#include "pxl/filtering/linear/FiniteImpulseResponseFilter.h"
#include "pxl/morphology/Morphology.h"

namespace {

using namespace pxl;

/** Checks that a property is visited in the type it has, and says which kind that type is. */
struct OwnType {
  PropertyBase const& visited;

  template <class Typed>
  PropertyKinds operator()(Typed const& typed) const {
    EXPECT_EQ(dynamic_cast<Typed const*>(&visited), &typed) << visited.getName();
    return typed.getKind();
  }
};

TEST(Properties, AreVisitedInTheirOwnTypes) {
  std::set<PropertyKinds> kinds;
  for (AlgoInfo const* record : AlgoInfo::getAll()) {
    auto const algorithm = record->create();
    for (PropertyBase* property : algorithm->getProperties()) {
      EXPECT_EQ(visitProperty(*property, OwnType{*property}), property->getKind());
      kinds.insert(visitProperty(static_cast<PropertyBase const&>(*property), OwnType{*property}));
    }
  }
  EXPECT_EQ(kinds.size(), static_cast<std::size_t>(PropertyKinds::cMeasure) + 1);
}

TEST(Properties, AreVisitedToBeSetAndToBeRead) {
  morphology::DilationLine2d line;
  PropertyBase& angle = *line.findProperty("lineAngle");
  visitProperty(angle, Overloaded{[](Property<double>& real) { real = 30; }, [](PropertyBase&) { FAIL(); }});
  EXPECT_EQ(line.lineAngle, 30.0);
  PropertyBase const& described = angle;
  EXPECT_EQ(visitProperty(described, Overloaded{[](Property<double> const& real) { return real.get(); },
                                                [](PropertyBase const&) { return -1.0; }}),
            30.0);
}

TEST(Properties, AreGivenAsTheirTypeOnly) {
  filtering::linear::FiniteImpulseResponseFilter3D filter;
  EXPECT_EQ(asProperty<kernel::Kernel3D>(*filter.findProperty("kernel")), &filter.kernel);
  EXPECT_EQ(asProperty<kernel::Kernel2D>(*filter.findProperty("kernel")), nullptr);
  EXPECT_EQ(asProperty<ImageModel*>(*filter.findProperty("inputImage")), nullptr);
  EXPECT_EQ(asProperty<ImageModel const*>(*filter.findProperty("inputImage")), &filter.inputImage);
}

// Programs copy values and make measures without knowing their types.
TEST(Properties, AssignAndMakeMeasuresByThemselves) {
  morphology::Dilation2d from, to;
  from.numberOfIterations = 9;
  to.findProperty("numberOfIterations")->assign(*from.findProperty("numberOfIterations"));
  EXPECT_EQ(to.numberOfIterations, 9U);
  EXPECT_THROW(to.findProperty("neighborhood")->assign(*from.findProperty("numberOfIterations")), InvalidCall);
  analysis::IntensityExtrema extrema, copy;
  std::unique_ptr<analysis::Measure> measure;
  for (PropertyBase* property : extrema.getProperties())
    visitProperty(*property, Overloaded{[&measure](MeasureProperty& holder) { measure = holder.makeMeasure(); },
                                        [](PropertyBase&) {}});
  ASSERT_NE(measure, nullptr);
  EXPECT_EQ(extrema.outputMeasure.get(), measure.get());
  copy.findProperty("outputMeasure")->assign(*extrema.findProperty("outputMeasure"));
  EXPECT_EQ(copy.outputMeasure.get(), measure.get());
}

TEST(Properties, NameValues) {
  morphology::Dilation3d dilation;
  Choices const& one = dilation.neighborhood.getChoices();
  int value = -1;
  EXPECT_TRUE(one.findValue("edges", value));
  EXPECT_EQ(value, morphology::cEdges);
  EXPECT_EQ(one.getText(value), String("edges"));
  for (char const* text : {"", "Edges", "edge", "faces,edges", "1"}) EXPECT_FALSE(one.findValue(text, value)) << text;
  EXPECT_EQ(value, morphology::cEdges);
  EXPECT_EQ(one.getText(3), String());
  EXPECT_TRUE(dilation.numberOfIterations.getChoices().isEmpty());

  analysis::IntensityExtrema const extrema;
  Choices const& sum = extrema.analysisDimensions.getChoices();
  EXPECT_EQ(sum.getKind(), ChoiceKinds::cSum);
  EXPECT_TRUE(sum.findValue("spectral,plans", value));
  EXPECT_EQ(value, analysis::cEachPlan | analysis::cEachSpectralPosition);
  EXPECT_EQ(sum.getText(value), String("plans,spectral"));
  EXPECT_EQ(sum.getText(0), String("none"));
  EXPECT_EQ(sum.getText(8), String());
  EXPECT_EQ(sum.getText(9), String());
  EXPECT_EQ(sum.getText(-1), String());
  for (char const* text : {"", ",", "plans,", "none plans"}) EXPECT_FALSE(sum.findValue(text, value)) << text;
}

// What stands in the description is what a value is called, and no two values share a name.
TEST(Properties, HaveDefaultsWithNames) {
  for (AlgoInfo const* record : AlgoInfo::getAll()) {
    auto const algorithm = record->create();
    for (PropertyBase* property : algorithm->getProperties()) {
      Choices const& choices = property->getChoices();
      if (choices.isEmpty()) continue;
      auto* const number = asProperty<int>(*property);
      ASSERT_NE(number, nullptr) << property->getName();
      EXPECT_NE(choices.getText(number->getDefault()), String()) << record->getName();
      for (Choice const& choice : choices) {
        int value = choice.value + 1;
        EXPECT_TRUE(choices.findValue(choice.name, value));
        EXPECT_EQ(value, choice.value) << choice.name;
        EXPECT_EQ(choices.getText(value), String(choice.name));
      }
    }
  }
}

}  // namespace
