#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

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

using Input = Property<ImageModel const*>;
using Output = Property<ImageModel*>;
using Kinds = std::vector<std::pair<std::string, PropertyKinds>>;

#define EXPECT_MEMBER(Class, member, Type) \
  static_assert(std::is_same_v<decltype(Class::member), Type>, #Class "::" #member)

// The members of one operator, each of its type, and the description in the same order with the same addresses.
class Check {
 public:
  Check(char const* name, BaseAlgorithm const& algorithm, WorkingDimension dimension)
      : m_name(name), m_algorithm(algorithm) {
    EXPECT_STREQ(algorithm.getAlgoInfo()->getName(), name);
    EXPECT_EQ(algorithm.getAlgoInfo()->getWorkingDimension(), dimension) << name;
  }
  ~Check() { EXPECT_EQ(m_algorithm.getProperties().size(), m_nbMembers) << m_name; }

  template <class T>
  Check& has(char const* name, Property<T> const& member, PropertyKinds kind) {
    SCOPED_TRACE(std::string(m_name) + "::" + name);
    auto const& properties = m_algorithm.getProperties();
    if (m_nbMembers >= properties.size()) {
      ADD_FAILURE() << "not described";
      return *this;
    }
    PropertyBase const* const described = properties[m_nbMembers++];
    EXPECT_EQ(described, &member);
    EXPECT_LT(m_last, static_cast<void const*>(&member));
    m_last = &member;
    EXPECT_STREQ(described->getName(), name);
    EXPECT_EQ(described->getKind(), kind);
    EXPECT_EQ(m_algorithm.findProperty(name), described);
    EXPECT_GT(std::string(described->getHelp()).size(), 5u);
    EXPECT_EQ(std::string(described->getHelp()).find('\n'), std::string::npos);
    return *this;
  }
  template <class T>
  Check& hasDefault(char const* name, Property<T> const& member, PropertyKinds kind, T value) {
    has(name, member, kind);
    EXPECT_TRUE(member.hasDefault() && member.isSet()) << name;
    EXPECT_EQ(member.getDefault(), value) << name;
    EXPECT_EQ(member.get(), value) << name;
    return *this;
  }
  template <class T>
  Check& hasNoDefault(char const* name, Property<T> const& member, PropertyKinds kind) {
    has(name, member, kind);
    EXPECT_FALSE(member.hasDefault() || member.isSet()) << name;
    return *this;
  }
  Check& input(Input const& member, char const* name = "inputImage") {
    hasNoDefault(name, member, PropertyKinds::cInputImage);
    EXPECT_EQ(member.get(), nullptr);
    return *this;
  }
  void output(Output const& member) {
    hasNoDefault("outputImage", member, PropertyKinds::cOutputImage);
    EXPECT_EQ(member.get(), nullptr);
  }
  Check& number(char const* name, Property<int> const& member, int value) {
    return hasDefault(name, member, PropertyKinds::cInteger, value);
  }
  Check& number(char const* name, Property<unsigned int> const& member, unsigned int value) {
    return hasDefault(name, member, PropertyKinds::cUnsignedInteger, value);
  }
  Check& angle(char const* name, Property<double> const& member) {
    return hasDefault(name, member, PropertyKinds::cReal, 0.0);
  }

 private:
  char const* m_name;
  BaseAlgorithm const& m_algorithm;
  std::size_t m_nbMembers = 0;
  void const* m_last = nullptr;
};

constexpr WorkingDimension cPlans = WorkingDimension::cPlanByPlan;
constexpr WorkingDimension cVolume = WorkingDimension::cVolume;
constexpr WorkingDimension cVoxels = WorkingDimension::cVoxelByVoxel;

TEST(Operators, IntensityExtrema) {
  EXPECT_MEMBER(IntensityExtrema, inputImage, Input);
  EXPECT_MEMBER(IntensityExtrema, analysisDimensions, Property<int>);
  EXPECT_MEMBER(IntensityExtrema, outputMeasure, Property<IntensityExtremaMsr*>);
  IntensityExtrema const a;
  Check("IntensityExtrema", a, cVoxels)
      .input(a.inputImage)
      .number("analysisDimensions", a.analysisDimensions, 0)
      .hasNoDefault("outputMeasure", a.outputMeasure, PropertyKinds::cMeasure);
}

template <class Algo>
void checkIterated(char const* name, WorkingDimension dimension, int neighborhood) {
  EXPECT_MEMBER(Algo, inputImage, Input);
  EXPECT_MEMBER(Algo, numberOfIterations, Property<unsigned int>);
  EXPECT_MEMBER(Algo, neighborhood, Property<int>);
  EXPECT_MEMBER(Algo, outputImage, Output);
  Algo const a;
  Check(name, a, dimension)
      .input(a.inputImage)
      .number("numberOfIterations", a.numberOfIterations, 1u)
      .number("neighborhood", a.neighborhood, neighborhood)
      .output(a.outputImage);
}

TEST(Operators, IteratedMorphology) {
  checkIterated<Dilation2d>("Dilation2d", cPlans, 1);
  checkIterated<Erosion2d>("Erosion2d", cPlans, 1);
  checkIterated<Dilation3d>("Dilation3d", cVolume, 2);
  checkIterated<Erosion3d>("Erosion3d", cVolume, 2);
}

template <class Algo>
void checkRadius(char const* name, WorkingDimension dimension) {
  EXPECT_MEMBER(Algo, inputImage, Input);
  EXPECT_MEMBER(Algo, radius, Property<unsigned int>);
  EXPECT_MEMBER(Algo, shapeMode, Property<int>);
  EXPECT_MEMBER(Algo, outputImage, Output);
  Algo const a;
  Check(name, a, dimension)
      .input(a.inputImage)
      .number("radius", a.radius, 1u)
      .number("shapeMode", a.shapeMode, 0)
      .output(a.outputImage);
}

TEST(Operators, RadiusMorphology) {
  checkRadius<DilationDisk2d>("DilationDisk2d", cPlans);
  checkRadius<ErosionDisk2d>("ErosionDisk2d", cPlans);
  checkRadius<DilationBall3d>("DilationBall3d", cVolume);
  checkRadius<ErosionBall3d>("ErosionBall3d", cVolume);
}

template <class Algo>
void checkOriented(char const* name, char const* sizeName, Property<unsigned int> Algo::*size, unsigned int value) {
  EXPECT_MEMBER(Algo, inputImage, Input);
  EXPECT_MEMBER(Algo, firstAngle, Property<double>);
  EXPECT_MEMBER(Algo, secondAngle, Property<double>);
  EXPECT_MEMBER(Algo, outputImage, Output);
  Algo const a;
  Check(name, a, cVolume)
      .input(a.inputImage)
      .angle("firstAngle", a.firstAngle)
      .angle("secondAngle", a.secondAngle)
      .number(sizeName, a.*size, value)
      .output(a.outputImage);
}

TEST(Operators, OrientedMorphology) {
  checkOriented<DilationDisk3d>("DilationDisk3d", "radius", &DilationDisk3d::radius, 1);
  checkOriented<ErosionDisk3d>("ErosionDisk3d", "radius", &ErosionDisk3d::radius, 1);
  checkOriented<DilationLine3d>("DilationLine3d", "lineSize", &DilationLine3d::lineSize, 3);
  checkOriented<ErosionLine3d>("ErosionLine3d", "lineSize", &ErosionLine3d::lineSize, 3);
}

template <class Algo>
void checkLine2d(char const* name) {
  EXPECT_MEMBER(Algo, inputImage, Input);
  EXPECT_MEMBER(Algo, lineAngle, Property<double>);
  EXPECT_MEMBER(Algo, lineSize, Property<unsigned int>);
  EXPECT_MEMBER(Algo, outputImage, Output);
  Algo const a;
  Check(name, a, cPlans)
      .input(a.inputImage)
      .angle("lineAngle", a.lineAngle)
      .number("lineSize", a.lineSize, 3u)
      .output(a.outputImage);
}

TEST(Operators, Line2dMorphology) {
  checkLine2d<DilationLine2d>("DilationLine2d");
  checkLine2d<ErosionLine2d>("ErosionLine2d");
}

template <class Algo>
void checkElement(char const* name) {
  EXPECT_MEMBER(Algo, inputImage, Input);
  EXPECT_MEMBER(Algo, element, Property<kernel::StructuringElement>);
  EXPECT_MEMBER(Algo, outputImage, Output);
  Algo const a;
  Check(name, a, cVolume)
      .input(a.inputImage)
      .hasNoDefault("element", a.element, PropertyKinds::cElement)
      .output(a.outputImage);
}

TEST(Operators, ElementMorphology) {
  checkElement<DilationElement3d>("DilationElement3d");
  checkElement<ErosionElement3d>("ErosionElement3d");
  checkElement<Dilate>("Dilate");
  checkElement<Erode>("Erode");
  checkElement<Open>("Open");
  checkElement<Close>("Close");
  checkElement<WhiteTopHat>("WhiteTopHat");
  checkElement<BlackTopHat>("BlackTopHat");
  EXPECT_MEMBER(Gradient, element, Property<kernel::StructuringElement>);
  EXPECT_MEMBER(Gradient, gradientMode, Property<int>);
  Gradient const gradient;
  Check check("Gradient", gradient, cVolume);
  check.input(gradient.inputImage).hasNoDefault("element", gradient.element, PropertyKinds::cElement);
  check.output(gradient.outputImage);
  check.number("gradientMode", gradient.gradientMode, cFullGradient);
}

TEST(Operators, Filters) {
  EXPECT_MEMBER(FiniteImpulseResponseFilter2D, inputImage, Input);
  EXPECT_MEMBER(FiniteImpulseResponseFilter2D, kernel, Property<kernel::Kernel2D>);
  EXPECT_MEMBER(FiniteImpulseResponseFilter2D, outputImage, Output);
  EXPECT_MEMBER(FiniteImpulseResponseFilter3D, inputImage, Input);
  EXPECT_MEMBER(FiniteImpulseResponseFilter3D, kernel, Property<kernel::Kernel3D>);
  EXPECT_MEMBER(FiniteImpulseResponseFilter3D, outputImage, Output);
  FiniteImpulseResponseFilter2D const plan;
  FiniteImpulseResponseFilter3D const volume;
  Check("FiniteImpulseResponseFilter2D", plan, cPlans)
      .input(plan.inputImage)
      .hasNoDefault("kernel", plan.kernel, PropertyKinds::cKernel2D)
      .output(plan.outputImage);
  Check("FiniteImpulseResponseFilter3D", volume, cVolume)
      .input(volume.inputImage)
      .hasNoDefault("kernel", volume.kernel, PropertyKinds::cKernel3D)
      .output(volume.outputImage);
}

TEST(Operators, Logic) {
  EXPECT_MEMBER(LogicalOperationWithImage, inputImage1, Input);
  EXPECT_MEMBER(LogicalOperationWithImage, inputImage2, Input);
  EXPECT_MEMBER(LogicalOperationWithImage, logicalOperator, Property<int>);
  EXPECT_MEMBER(LogicalOperationWithImage, outputImage, Output);
  EXPECT_MEMBER(LogicalOperationWithValue, inputImage, Input);
  EXPECT_MEMBER(LogicalOperationWithValue, value, Property<unsigned int>);
  EXPECT_MEMBER(LogicalOperationWithValue, logicalOperator, Property<int>);
  EXPECT_MEMBER(LogicalOperationWithValue, outputImage, Output);
  LogicalOperationWithImage const image;
  LogicalOperationWithValue const value;
  Check("LogicalOperationWithImage", image, cVoxels)
      .input(image.inputImage1, "inputImage1")
      .input(image.inputImage2, "inputImage2")
      .number("logicalOperator", image.logicalOperator, 0)
      .output(image.outputImage);
  Check("LogicalOperationWithValue", value, cVoxels)
      .input(value.inputImage)
      .hasNoDefault("value", value.value, PropertyKinds::cUnsignedInteger)
      .number("logicalOperator", value.logicalOperator, 0)
      .output(value.outputImage);
}

TEST(Operators, EstimateTheirSteps) {
  EXPECT_EQ(IntensityExtrema().estimateSteps(), 1);
  Erosion3d iterated;
  iterated.numberOfIterations = 7;
  EXPECT_EQ(iterated.estimateSteps(), 7);
  DilationDisk2d disk;
  disk.radius = 10;
  EXPECT_EQ(disk.estimateSteps(), 10);
  disk.shapeMode = 1;
  EXPECT_NEAR(disk.estimateSteps(), 317, 100);
  ErosionBall3d ball;
  ball.radius = 10;
  ball.shapeMode = 1;
  EXPECT_NEAR(ball.estimateSteps(), 4169, 1000);
  ball.radius = 4000000000U;
  EXPECT_EQ(ball.estimateSteps(), 1e6);
  Open open;
  open.element = kernel::StructuringElement::connectivity(26, 7);
  EXPECT_EQ(open.estimateSteps(), 14);
  open.element = kernel::StructuringElement::ball(10);
  EXPECT_EQ(open.estimateSteps(), 2 * 4169);
  open.element = kernel::StructuringElement::box({11, 21});
  EXPECT_EQ(open.estimateSteps(), 2 * (11 + 21));
  Gradient gradient;
  gradient.element = kernel::StructuringElement::box({3, 3});
  EXPECT_EQ(gradient.estimateSteps(), 18);
  gradient.gradientMode = cInnerGradient;
  EXPECT_EQ(gradient.estimateSteps(), 9);
  ErosionElement3d listed;
  listed.element = kernel::StructuringElement::connectivity(8, 2);
  EXPECT_EQ(listed.estimateSteps(), 25);
  DilationDisk3d flat;
  flat.radius = 10;
  EXPECT_NEAR(flat.estimateSteps(), 317, 100);
  ErosionLine2d line;
  line.lineSize = 4096;
  EXPECT_EQ(line.estimateSteps(), 4096);
  line.lineSize = 4097;
  EXPECT_TRUE(std::isinf(line.estimateSteps()));
  DilationLine3d steep;
  steep.lineSize = 257;
  EXPECT_TRUE(std::isinf(steep.estimateSteps()));
}

}  // namespace
