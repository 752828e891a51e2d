#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <thread>
#include <type_traits>

#include "object_model/Tuple.h"
#include "pxl/AlgoBorderInfluence.h"
#include "pxl/Exception.h"
#include "pxl/Object.h"
#include "pxl/Settings.h"
#include "pxl/String.h"
#include "support/Images.h"

namespace {

using namespace host_test;

TEST(Text, IsOwnedAndNullIsEmpty) {
  EXPECT_TRUE(pxl::String().empty());
  EXPECT_TRUE(pxl::String(static_cast<char const*>(nullptr)).empty());
  char source[] = "abc";
  pxl::String text(source);
  source[0] = 'x';
  EXPECT_STREQ(text.c_str(), "abc");
  text = "def";
  EXPECT_EQ(text.str(), "def");
  EXPECT_EQ(text, pxl::String("def"));
  EXPECT_NE(text, pxl::String("abc"));
  text = nullptr;
  EXPECT_TRUE(text.empty());
  EXPECT_STREQ(text.c_str(), "");
  text = "own text";
  text = text.c_str() + 4;
  EXPECT_EQ(text.str(), "text");
}

TEST(Tuple, HasItsSizeAndWritableElements) {
  object_model::TupleX tuple(5);
  static_assert(std::is_same_v<decltype(tuple[0UL]), unsigned long&>);
  EXPECT_EQ(tuple.getSize(), 5u);
  for (unsigned long i = 0; i < 5; ++i) EXPECT_EQ(tuple[i], 0u);
  tuple[4] = ~0UL;
  tuple[0] = 7;
  object_model::Tuple const& same = tuple;
  EXPECT_EQ(same[4], ~0UL);
  EXPECT_EQ(same[0], 7u);
  EXPECT_EQ(same[1], 0u);
  EXPECT_EQ(object_model::TupleX(0).getSize(), 0u);
}

// Data that records its destruction.
class Shared : public pxl::RefImpl {
 public:
  explicit Shared(int& nbLiving) : m_nbLiving(nbLiving) { ++m_nbLiving; }

 protected:
  ~Shared() override { --m_nbLiving; }

 private:
  int& m_nbLiving;
};

class Handle : public pxl::Object {
 public:
  explicit Handle(pxl::RefImpl* shared) : Object(shared) {}
  pxl::RefImpl* get() const { return getImplementation(); }
};

TEST(Object, SharesItsDataUntilTheLastCopyIsGone) {
  int nbLiving = 0;
  {
    Handle a(new Shared(nbLiving));
    {
      Handle const b(a);
      EXPECT_EQ(b.get(), a.get());
      EXPECT_EQ(a.get()->getNbReferences(), 2u);
    }
    EXPECT_EQ(a.get()->getNbReferences(), 1u);
    Handle& self = a;
    a = self;
    EXPECT_EQ(nbLiving, 1);
    Handle c(new Shared(nbLiving));
    EXPECT_EQ(nbLiving, 2);
    c = a;
    EXPECT_EQ(nbLiving, 1);
    c = Handle(nullptr);
    EXPECT_EQ(c.get(), nullptr);
    EXPECT_EQ(a.get()->getNbReferences(), 1u);
  }
  EXPECT_EQ(nbLiving, 0);
}

TEST(Object, IsCountedRightByManyThreads) {
  int nbLiving = 0;
  {
    Handle const handle(new Shared(nbLiving));
    std::vector<std::thread> threads;
    for (int t = 0; t < 16; ++t)
      threads.emplace_back([&handle] {
        for (int i = 0; i < 5000; ++i) Handle const copy(handle);
      });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(handle.get()->getNbReferences(), 1u);
  }
  EXPECT_EQ(nbLiving, 0);
}

pxl::Exception::ExceptionInfo makeInfo() {
  pxl::Exception::ExceptionInfo info;
  info.message = "it broke";
  info.file = "Some/file";
  info.line = 1L << 40;
  return info;
}

template <class E>
void expectTextException() {
  static_assert(std::is_base_of_v<pxl::ProcessingException, E>);
  static_assert(std::is_constructible_v<E, pxl::Exception::ExceptionInfo const&>);
  static_assert(!std::is_default_constructible_v<E>);
  try {
    throw E(makeInfo());
  } catch (pxl::Exception const& exception) {
    EXPECT_EQ(typeid(exception), typeid(E));
    EXPECT_EQ(exception.getInfo(false).str(), "it broke");
    EXPECT_EQ(exception.getInfo(true).str(), "it broke (Some/file:1099511627776)");
    EXPECT_STREQ(exception.what(), "it broke");
  }
  EXPECT_THROW(throw E(makeInfo()), std::exception);
  try {
    throw E(makeInfo());
  } catch (pxl::ProcessingException const& exception) {
    EXPECT_EQ(exception.getExceptionInfo().line, 1L << 40);
    EXPECT_EQ(exception.getExceptionInfo().file.str(), "Some/file");
    EXPECT_TRUE(exception.getExceptionInfo().context.empty());
    EXPECT_TRUE(exception.getExceptionInfo().advice.empty());
  }
}

TEST(Exceptions, CarryTheirTextAndPlace) {
  expectTextException<pxl::UnexpectedError>();
  expectTextException<pxl::RuntimeError>();
  expectTextException<pxl::InvalidCall>();
  expectTextException<pxl::RuleException>();
}

TEST(Exceptions, HaveTheFormOfTheContract) {
  static_assert(std::is_abstract_v<pxl::Exception> && std::is_abstract_v<pxl::ProcessingException>);
  static_assert(std::is_base_of_v<std::exception, pxl::Exception>);
  static_assert(std::is_base_of_v<pxl::Exception, pxl::ProcessingException>);
  static_assert(std::is_base_of_v<pxl::Exception, pxl::ExceptionCancelation>);
  static_assert(!std::is_base_of_v<pxl::ProcessingException, pxl::ExceptionCancelation>);
  static_assert(std::is_default_constructible_v<pxl::ExceptionCancelation>);
  static_assert(std::is_same_v<decltype(std::declval<pxl::Exception const&>().getInfo(true)), pxl::String>);
  static_assert(sizeof(pxl::Exception::ExceptionInfo::line) == 8);
  pxl::Exception::ExceptionInfo const info;
  auto const addressOf = [](auto const& member) { return reinterpret_cast<char const*>(&member); };
  EXPECT_LT(addressOf(info.message), addressOf(info.file));
  EXPECT_LT(addressOf(info.file), addressOf(info.line));
  EXPECT_LT(addressOf(info.line), addressOf(info.context));
  EXPECT_LT(addressOf(info.context), addressOf(info.advice));
  EXPECT_EQ(info.line, 0);
}

TEST(Exceptions, CancelationHasNoText) {
  try {
    throw pxl::ExceptionCancelation();
  } catch (pxl::Exception const& exception) {
    EXPECT_TRUE(exception.getInfo(false).empty());
    EXPECT_TRUE(exception.getInfo(true).empty());
    EXPECT_STREQ(exception.what(), "");
  }
}

TEST(VoxelTypes, HaveSizesAndNames) {
  struct Expected {
    unsigned long size;
    char const* name;
    bool isImageType;
  };
  Expected const expected[] = {{1, "uint8", true},   {2, "uint16", true},     {4, "uint32", true},
                               {8, "uint64", false}, {1, "int8", true},       {2, "int16", true},
                               {4, "int32", true},   {8, "int64", false},     {4, "float32", true},
                               {8, "float64", true}, {8, "complex64", false}, {16, "complex128", false}};
  for (int value = 0; value < 12; ++value) {
    auto const type = static_cast<pxl::VoxelTypes>(value);
    EXPECT_EQ(pxl::helper::getSizeOf(type), expected[value].size) << value;
    EXPECT_STREQ(pxl::helper::getNameOf(type), expected[value].name);
    EXPECT_EQ(pxl::helper::isImageType(type), expected[value].isImageType) << value;
  }
  for (int const value : {-1, 12, 13, 32, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    auto const type = static_cast<pxl::VoxelTypes>(value);
    EXPECT_EQ(pxl::helper::getSizeOf(type), 0u);
    EXPECT_STREQ(pxl::helper::getNameOf(type), "unknown");
    EXPECT_FALSE(pxl::helper::isImageType(type));
  }
}

TEST(VoxelTypes, OfTheEightTypesHaveTheirNumbers) {
  static_assert(cTypeOf<unsigned char> == 0 && cTypeOf<unsigned short> == 1 && cTypeOf<unsigned int> == 2);
  static_assert(cTypeOf<signed char> == 4 && cTypeOf<short> == 5 && cTypeOf<int> == 6);
  static_assert(cTypeOf<float> == 8 && cTypeOf<double> == 9);
  static_assert(sizeof(pxl::VoxelTypes) == sizeof(int) && pxl::cRoundAndSaturate == 0);
#define PXL_CHECK(T) EXPECT_EQ(pxl::helper::getSizeOf(cTypeOf<T>), sizeof(T));
  PXL_FOR_EACH_VOXEL_TYPE(PXL_CHECK)
#undef PXL_CHECK
}

TEST(BorderInfluence, GivesItsTenNumbersInOrder) {
  pxl::AlgoBorderInfluence const ten(11, 12, 13, 14, 15, 16, 17, 18, 19, 20);
  for (int d = 0; d < 6; ++d)
    EXPECT_EQ(ten.getNumOfVoxels(static_cast<pxl::DirectionTypes>(d)), static_cast<unsigned long>(11 + d));
  pxl::AlgoBorderInfluence const five(~0UL, 2, 3, 4, 5);
  unsigned long const expected[] = {~0UL, ~0UL, 2, 2, 3, 3};
  for (int d = 0; d < 6; ++d) EXPECT_EQ(five.getNumOfVoxels(static_cast<pxl::DirectionTypes>(d)), expected[d]);
  static_assert(pxl::cColumnsBefore == 0 && pxl::cColumnsAfter == 1 && pxl::cRowsBefore == 2 &&
                pxl::cRowsAfter == 3 && pxl::cPlansBefore == 4 && pxl::cPlansAfter == 5);
}

TEST(Settings, AreReadAsTheirTypes) {
  pxl::Settings settings;
  for (char const* text : {"true", "TRUE", "1", "on", "Yes"}) {
    settings.setValue("a", text);
    EXPECT_TRUE(settings.getValueAsBool("a", false)) << text;
  }
  for (char const* text : {"false", "False", "0", "OFF", "no"}) {
    settings.setValue("a", text);
    EXPECT_FALSE(settings.getValueAsBool("a", true)) << text;
  }
  for (char const* text : {"", "2", "tru", " true", "yes "}) {
    settings.setValue("a", text);
    EXPECT_TRUE(settings.getValueAsBool("a", true)) << text;
    EXPECT_FALSE(settings.getValueAsBool("a", false)) << text;
  }
  EXPECT_TRUE(settings.getValueAsBool("missing", true));
  EXPECT_FALSE(settings.getValueAsBool("missing", false));

  settings.setValue("n", "18446744073709551615");
  EXPECT_EQ(settings.getValueAsUnsignedLong("n", 5), ~0UL);
  for (char const* text : {"", "-1", "+1", "1.0", " 1", "1K", "0x10", "18446744073709551616"}) {
    settings.setValue("n", text);
    EXPECT_EQ(settings.getValueAsUnsignedLong("n", 5), 5u) << text;
  }
  EXPECT_EQ(settings.getValueAsUnsignedLong("missing", 6), 6u);

  EXPECT_EQ(settings.getValueAsString("missing", "default").str(), "default");
  settings.setValue("n", "text");
  EXPECT_EQ(settings.getValueAsString("n", "default").str(), "text");
  settings.clearValue("n");
  EXPECT_EQ(settings.getValueAsString("n", "default").str(), "default");
  settings.clearValue("never there");
}

TEST(Settings, AreOneForTheProcess) {
  EXPECT_EQ(&pxl::globalSettings(), &pxl::globalSettings());
  EXPECT_FALSE(pxl::Settings::getDescriptions().empty());
  for (auto const& description : pxl::Settings::getDescriptions())
    EXPECT_TRUE(*description.name && *description.type && *description.help);
}

// Of all that is made in a process, what is made last goes first.
TEST(Settings, LiveUntilTheVeryEndOfTheProcess) {
  static std::string const cValue(100, 'x');
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  auto const useAtTheEnd = [] {
    std::atexit([] {
      bool const isThere =
          pxl::globalSettings().getValueAsString("a name that is too long to be short", "") == cValue;
      ::_exit(isThere && pxl::Settings::getDescriptions().at(0).help ? 0 : 1);
    });
    pxl::Settings::getDescriptions();
    pxl::globalSettings().setValue("a name that is too long to be short", cValue);
    std::exit(2);
  };
  EXPECT_EXIT(useAtTheEnd(), testing::ExitedWithCode(0), "");
}

TEST(Settings, MayBeUsedByManyThreads) {
  pxl::Settings settings;
  std::atomic<int> nbErrors{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 16; ++t)
    threads.emplace_back([&, t] {
      std::string const own = "own" + std::to_string(t);
      for (int i = 0; i < 500; ++i) {
        settings.setValue(own, std::to_string(i));
        if (settings.getValueAsUnsignedLong(own, 0) != static_cast<unsigned long>(i)) ++nbErrors;
        settings.setValue("common", i % 2 ? "true" : "false");
        settings.getValueAsBool("common", true);
        if (i % 7 == 0) settings.clearValue("common");
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(nbErrors, 0);
}

}  // namespace
