#pragma once

#include <gtest/gtest.h>

#include <climits>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "frame/support/FakeImage.h"
#include "frame/support/Runners.h"
#include "oracle/TypedTests.h"
#include "pxl/AlgoInfo.h"

namespace frame_test {

/** The sorts of acceptance rules. */
enum class Rule { cExtrema, cFir, cIterated, cShaped, cLogical };

template <class Algo, class RunnerClass, Rule cKind>
struct Operator {
  using Algorithm = Algo;
  using Runner = RunnerClass;
  static constexpr Rule cRule = cKind;
};

using Extrema = Operator<pxl::analysis::IntensityExtrema, pxl::analysis::IntensityExtremaSSERunner, Rule::cExtrema>;
using Fir2D = Operator<pxl::filtering::linear::FiniteImpulseResponseFilter2D,
                       pxl::filtering::linear::FIRFilter2DSSE41Runner, Rule::cFir>;
using Fir3D = Operator<pxl::filtering::linear::FiniteImpulseResponseFilter3D,
                       pxl::filtering::linear::FIRFilter3DSSE41Runner, Rule::cFir>;
#define FRAME_TEST_OPERATOR(Algo, kind) \
  Operator<pxl::morphology::Algo, pxl::morphology::Algo##SSE41Runner, Rule::kind>
using LogicalWithImage = Operator<pxl::point_operations::LogicalOperationWithImage,
                                  pxl::point_operations::SSE41LogicalOperationWithImageRunner, Rule::cLogical>;
using LogicalWithValue = Operator<pxl::point_operations::LogicalOperationWithValue,
                                  pxl::point_operations::SSE41LogicalOperationWithValueRunner, Rule::cLogical>;

using IteratedOperators =
    testing::Types<FRAME_TEST_OPERATOR(Dilation2d, cIterated), FRAME_TEST_OPERATOR(Dilation3d, cIterated),
                   FRAME_TEST_OPERATOR(Erosion2d, cIterated), FRAME_TEST_OPERATOR(Erosion3d, cIterated)>;
using ShapedOperators =
    testing::Types<FRAME_TEST_OPERATOR(DilationBall3d, cShaped), FRAME_TEST_OPERATOR(DilationDisk2d, cShaped),
                   FRAME_TEST_OPERATOR(DilationDisk3d, cShaped), FRAME_TEST_OPERATOR(DilationLine2d, cShaped),
                   FRAME_TEST_OPERATOR(DilationLine3d, cShaped), FRAME_TEST_OPERATOR(ErosionBall3d, cShaped),
                   FRAME_TEST_OPERATOR(ErosionDisk2d, cShaped), FRAME_TEST_OPERATOR(ErosionDisk3d, cShaped),
                   FRAME_TEST_OPERATOR(ErosionLine2d, cShaped), FRAME_TEST_OPERATOR(ErosionLine3d, cShaped)>;
using LogicalOperators = testing::Types<LogicalWithImage, LogicalWithValue>;
using FirOperators = testing::Types<Fir2D, Fir3D>;
#undef FRAME_TEST_OPERATOR

template <class... Lists>
struct Joined;
template <class... First>
struct Joined<testing::Types<First...>> {
  using Types = testing::Types<First...>;
};
template <class... First, class... Second, class... Lists>
struct Joined<testing::Types<First...>, testing::Types<Second...>, Lists...>
    : Joined<testing::Types<First..., Second...>, Lists...> {};

using AllOperators =
    Joined<testing::Types<Extrema>, FirOperators, IteratedOperators, ShapedOperators, LogicalOperators>::Types;

/** Names of the instances of typed tests. */
struct OperatorNames {
  template <class Op>
  static std::string GetName(int) {
    return Op::Algorithm::getClassInfo()->getName();
  }
};

/** The property whose image decides. */
template <class Algo>
auto& getLeading(Algo& algorithm) {
  if constexpr (std::is_same_v<Algo, pxl::point_operations::LogicalOperationWithImage>)
    return algorithm.inputImage1;
  else
    return algorithm.inputImage;
}

template <class Algo>
void setOutput(Algo& algorithm, pxl::ImageModel* image) {
  if constexpr (!std::is_same_v<Algo, pxl::analysis::IntensityExtrema>) algorithm.outputImage = image;
}

/** The namespaces of an operator. */
template <class Op>
std::vector<std::string> getNamespaces() {
  switch (Op::cRule) {
    case Rule::cExtrema:
      return {"pxl", "analysis"};
    case Rule::cFir:
      return {"pxl", "filtering", "linear"};
    case Rule::cLogical:
      return {"pxl", "point_operations"};
    default:
      return {"pxl", "morphology"};
  }
}

/** One call that arrived at a dispatcher. */
struct Report {
  std::string dispatcher;
  std::string voxelType;
  pxl::BaseAlgorithm* algorithm;
};

/** What the dispatchers of this program reported since the last call. */
std::vector<Report> takeReports();

/** Makes the dispatchers of this program throw a RuleException with this text; null ends it. */
void failDispatchers(char const* text);

/** A runner, its algorithm and two images: everything that acceptance may depend on. */
template <class Op>
class RunnerTest : public testing::Test {
 protected:
  RunnerTest() {
    getLeading(algorithm) = &input;
    setOutput(algorithm, &output);
    input.logInto(probe.log, "input");
    output.logInto(probe.log, "output");
    probe.hasSSE = true;
    probe.sseLevel = 80;
    probe.log.clear();
    takeReports();
  }
  ~RunnerTest() override { failDispatchers(nullptr); }

  bool isAccepted() {
    probe.log.clear();
    return runner.isRunnable(&algorithm);
  }
  void setTypes(int inputType, int outputType) {
    input.type = inputType;
    output.type = outputType;
  }

  LoggingProbe probe;
  FakeImage input{pxl::cUnsignedInteger8};
  FakeImage output{pxl::cUnsignedInteger8};
  typename Op::Algorithm algorithm;
  typename Op::Runner runner;
};

/** Every type value worth trying: all near the voxel types, and the ends of int. */
inline std::vector<int> getTypeValues() {
  std::vector<int> values{INT_MIN, INT_MIN + 1, INT_MAX, 0x100, 0x104, 0x10008};
  for (int type = -5; type <= 40; ++type) values.push_back(type);
  return values;
}

inline std::set<int> const cEightTypes{0, 1, 2, 4, 5, 6, 8, 9};
inline std::set<int> const cSixTypes{0, 1, 2, 4, 5, 6};

}  // namespace frame_test
