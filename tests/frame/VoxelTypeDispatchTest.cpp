#include <climits>
#include <locale>
#include <string>
#include <type_traits>

#include "Core/private/Helper/safe_cast.h"
#include "Core/private/TmplDispatch/Visitor1Args.h"
#include "analysis/IntensityExtremaRule.h"
#include "frame/support/FakeImage.h"
#include "gtest/gtest.h"
#include "pxl/Exception.h"
#include "pxl/morphology/Morphology.h"

namespace frame_test {
namespace {

using pxl::tmpl_dispatch::AllTypes;
using pxl::tmpl_dispatch::IntegerTypes;
using pxl::tmpl_dispatch::TypeList;
using pxl::tmpl_dispatch::Visitor1Args;

static_assert(
    std::is_same_v<AllTypes,
                   TypeList<unsigned char, unsigned short, unsigned int, signed char, short, int, float, double>>);
static_assert(
    std::is_same_v<IntegerTypes, TypeList<unsigned char, unsigned short, unsigned int, signed char, short, int>>);

struct Seen {
  std::string name;
  int nbCalls = 0;
};

struct RecordingVisitor {
  template <class T>
  static void run(Seen* seen) {
    seen->name = typeid(T).name();
    ++seen->nbCalls;
  }
};

using OfAll = Visitor1Args<AllTypes, RecordingVisitor, Seen*>;
using OfIntegers = Visitor1Args<IntegerTypes, RecordingVisitor, Seen*>;
static_assert(std::is_empty_v<OfAll> && std::is_empty_v<OfIntegers>);

// Names written out as the ABI has them: signed char is 'a', plain char would be 'c'.
constexpr struct {
  int type;
  char const* name;
} cInstances[] = {{0, "h"}, {1, "t"}, {2, "j"}, {4, "a"}, {5, "s"}, {6, "i"}, {8, "f"}, {9, "d"}};

TEST(VoxelTypeDispatch, ReachesTheInstanceOfEachType) {
  for (auto const& instance : cInstances) {
    Seen all, integers;
    OfAll()(instance.type, &all);
    OfIntegers()(instance.type, &integers);
    EXPECT_EQ(all.name, instance.name) << instance.type;
    EXPECT_EQ(all.nbCalls, 1) << instance.type;
    EXPECT_EQ(integers.nbCalls, instance.type < 8 ? 1 : 0) << instance.type;
    EXPECT_EQ(integers.name, instance.type < 8 ? instance.name : "") << instance.type;
  }
}

TEST(VoxelTypeDispatch, LetsTheComplexTypesPassInSilence) {
  Seen seen;
  for (int type : {10, 11}) {
    EXPECT_NO_THROW(OfAll()(type, &seen));
    EXPECT_NO_THROW(OfIntegers()(type, &seen));
  }
  EXPECT_EQ(seen.nbCalls, 0);
}

template <class Visitor>
void expectRefusal(int type, std::string const& number) {
  Seen seen;
  try {
    Visitor()(type, &seen);
    FAIL() << type << " was let pass";
  } catch (pxl::RuntimeError const& error) {
    auto const& info = error.getExceptionInfo();
    EXPECT_EQ(info.message.str(), "Invalid type in Visitor1Args : " + number);
    EXPECT_EQ(info.file.str(), "Core/private/TmplDispatch/Visitor1Args");
    EXPECT_EQ(info.line, 139);
    EXPECT_TRUE(info.context.empty());
    EXPECT_TRUE(info.advice.empty());
  }
  EXPECT_EQ(seen.nbCalls, 0);
}

TEST(VoxelTypeDispatch, RefusesEverythingElse) {
  std::pair<int, char const*> const cases[] = {{3, "3"},
                                               {7, "7"},
                                               {12, "12"},
                                               {13, "13"},
                                               {32, "32"},
                                               {256, "256"},
                                               {-1, "-1"},
                                               {-5, "-5"},
                                               {INT_MAX, "2147483647"},
                                               {INT_MIN, "-2147483648"}};
  for (auto const& [type, number] : cases) {
    expectRefusal<OfAll>(type, number);
    expectRefusal<OfIntegers>(type, number);
  }
}

/** While it lives the global locale writes 12345 as 12,345. */
class GroupingLocale {
 public:
  GroupingLocale() : m_previous(std::locale::global(std::locale(std::locale::classic(), new Grouping))) {}
  ~GroupingLocale() { std::locale::global(m_previous); }

 private:
  struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
  };
  std::locale m_previous;
};

TEST(VoxelTypeDispatch, WritesPlainNumbersUnderAGroupingLocale) {
  GroupingLocale const locale;
  std::ostringstream sample;
  sample << 12345;
  ASSERT_EQ(sample.str(), "12,345");
  expectRefusal<OfAll>(12345, "12345");
  expectRefusal<OfIntegers>(-1234567, "-1234567");
}

using ExtremaArgument = std::pair<pxl::analysis::IntensityExtrema*, pxl::algorithms::AbstractPrivateImplementation*>;

struct PairVisitor {
  template <class T>
  static void run(ExtremaArgument argument) {
    seen = argument;
  }
  static inline ExtremaArgument seen;
};

TEST(VoxelTypeDispatch, PassesThePairOfTheExtrema) {
  using Rule = pxl::analysis::IntensityExtremaRule<PairVisitor>;
  static_assert(std::is_same_v<Rule::Argument, ExtremaArgument>);
  FakeImage const image(pxl::cInteger8);
  pxl::analysis::IntensityExtrema algorithm;
  algorithm.inputImage = &image;
  pxl::algorithms::AbstractPrivateImplementation frame(&algorithm);
  Rule::dispatch({&algorithm, &frame});
  EXPECT_EQ(PairVisitor::seen, ExtremaArgument(&algorithm, &frame));
}

TEST(SafeCast, GivesThePointerOfTheObject) {
  pxl::morphology::Dilation2d algorithm;
  pxl::BaseAlgorithm* const base = &algorithm;
  EXPECT_EQ(pxl::helper::safe_cast<pxl::morphology::Dilation2d*>(base), &algorithm);
  EXPECT_EQ(pxl::helper::safe_cast<pxl::morphology::IteratedMorphology*>(base), &algorithm);
}

TEST(SafeCast, NamesTheStaticTypesNotTheObjects) {
  pxl::morphology::Dilation2d algorithm;
  pxl::morphology::IteratedMorphology* const source = &algorithm;
  GroupingLocale const locale;
  try {
    pxl::helper::safe_cast<pxl::morphology::Erosion2d*>(source);
    FAIL() << "nothing was thrown";
  } catch (pxl::UnexpectedError const& error) {
    EXPECT_STREQ(error.what(),
                 "bad cast when casting PN3pxl10morphology18IteratedMorphologyE into PN3pxl10morphology9Erosion2dE");
  }
}

TEST(ExceptionInfo, HasItsFieldsInTheOrderOfTheContract) {
  pxl::Exception::ExceptionInfo const info;
  auto const offsetOf = [&info](void const* field) {
    return static_cast<char const*>(field) - reinterpret_cast<char const*>(&info);
  };
  EXPECT_EQ(offsetOf(&info.message), 0);
  EXPECT_LT(offsetOf(&info.message), offsetOf(&info.file));
  EXPECT_LT(offsetOf(&info.file), offsetOf(&info.line));
  EXPECT_LT(offsetOf(&info.line), offsetOf(&info.context));
  EXPECT_LT(offsetOf(&info.context), offsetOf(&info.advice));
  EXPECT_EQ(sizeof(info.line), 8U);
}

}  // namespace
}  // namespace frame_test
