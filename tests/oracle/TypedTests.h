#pragma once

#include <gtest/gtest.h>

#include <string>

/**
 * Tests of a fixture that is a template, once for each of some types, as TYPED_TEST makes them. There are thousands
 * in total: what gtest's macros instantiate to register each one was a sixth of the code of all tests. Here it is one
 * function for each test and type. Fixtures do what they do in their constructors: SetUpTestSuite() isn't called.
 *
 *     template <class T> class Rows : public testing::Test {};
 *     TEST_TYPES(Rows, testing::Types<short, int>, oracle::VoxelTypeNames);
 *     TEST_OF_TYPES(Rows, AreCopied) { TypeParam voxel = 3; ... }
 */
#define TEST_TYPES(Suite, ...) using Suite##Types = oracle::TypesWithNames<__VA_ARGS__>

#define TEST_OF_TYPES(Suite, Name)                                                              \
  template <class Type>                                                                         \
  class Suite##_##Name : public Suite<Type> {                                                   \
    using TestFixture = Suite<Type>;                                                            \
    using TypeParam = Type;                                                                     \
    void TestBody() override;                                                                   \
  };                                                                                            \
  [[maybe_unused]] bool const is##Suite##_##Name##Registered =                                  \
      oracle::registerTests<Suite##_##Name>(#Suite, #Name, __FILE__, __LINE__, Suite##Types{}); \
  template <class Type>                                                                         \
  void Suite##_##Name<Type>::TestBody()

namespace oracle {

/** Without other names the types of a suite have numbers. */
struct NumbersOfTypes {
  template <class T>
  static std::string GetName(int index) {
    return std::to_string(index);
  }
};

template <class Types, class Names = NumbersOfTypes>
struct TypesWithNames {};

/** Registers a test that is made by a function. */
inline void registerTest(std::string const& suite, char const* name, char const* file, int line,
                         testing::Test* (*make)()) {
  testing::RegisterTest(suite.c_str(), name, nullptr, nullptr, file, line, make);
}

template <template <class> class Test, class... Types, class Names>
bool registerTests(std::string const& suite, char const* name, char const* file, int line,
                   TypesWithNames<testing::Types<Types...>, Names>) {
  int index = 0;
  (registerTest(suite + "/" + Names::template GetName<Types>(index++), name, file, line,
                []() -> testing::Test* { return new Test<Types>; }),
   ...);
  return true;
}

}  // namespace oracle
