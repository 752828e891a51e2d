#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/Program.h"

namespace test {

inline Outcome runQorn(std::vector<std::string> const& arguments, Program::Options const& options = {}) {
  return Program(QORN_PROGRAM, arguments, options).wait();
}

/** Checks that a run failed with this code, one line on standard error and nothing on standard output. */
inline void expectFailure(Outcome const& outcome, int exitCode, std::string const& what, std::string const& why) {
  EXPECT_EQ(outcome.exitCode, exitCode) << outcome.err << "signal " << outcome.signal;
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err.rfind("qorn: " + what + ": ", 0), 0u) << outcome.err;
  EXPECT_NE(outcome.err.find(why), std::string::npos) << outcome.err << "is to name: " << why;
  EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  EXPECT_TRUE(!outcome.err.empty() && outcome.err.back() == '\n');
}

/** Checks that a run took no memory that the voxels declared by a header would need. */
inline void expectLittleMemory(Outcome const& outcome) {
  long const limit = hasPlainMemory() ? 100 * 1024 : 1024 * 1024;
  EXPECT_LT(outcome.peakKilobytes, limit);
}

}  // namespace test
