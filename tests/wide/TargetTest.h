#pragma once

#include <cstdlib>

#include "Compared.h"

namespace wide_test {

/** Compares runners with the set of instructions that is the parameter. */
class TargetTest : public ::testing::TestWithParam<char const*> {
 protected:
  TargetTest() {
    loadPlugins();
    ::setenv("PXLWORKS_WIDE_TARGET", GetParam(), 1);
  }
  ~TargetTest() override {
    ::unsetenv("PXLWORKS_WIDE_TARGET");
    ::unsetenv("PXLWORKS_WIDE_CACHE");
    ::unsetenv("PXLWORKS_WIDE_TILE");
  }

  /** From one voxel to three of the widest vectors and one voxel more. */
  template <class Check>
  void forEachLength(pxl::VoxelTypes type, Check const& check) {
    long const longest = 3 * 64 / static_cast<long>(pxl::helper::getSizeOf(type)) + 1;
    for (long length = 1; length <= longest; ++length) check(static_cast<unsigned long>(length));
  }

  void compare(pxl::BaseAlgorithm& algorithm, RandomImages const& images) {
    try {
      ASSERT_TRUE(isSame(algorithm, images)) << GetParam();
    } catch (pxl::RuntimeError const& error) {
      // A target that this processor doesn't have.
      ASSERT_NE(std::string(error.what()).find("PXLWORKS_WIDE_TARGET"), std::string::npos) << error.what();
    }
  }

  Random m_random{7};
};

}  // namespace wide_test
