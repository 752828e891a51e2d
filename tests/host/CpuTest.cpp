#include <cpuid.h>
#include <gtest/gtest.h>

#include "pxl/devices/Cpu.h"

namespace {

using pxl::devices::Cpu;

struct Registers {
  unsigned int a = 0, b = 0, c = 0, d = 0;
};

Registers ask(unsigned int leaf) {
  Registers r;
  __get_cpuid_count(leaf, 0, &r.a, &r.b, &r.c, &r.d);
  return r;
}

// Whether the system keeps the upper halves of the wide registers.
bool areWideRegistersSaved() {
  if (!(ask(1).c & bit_OSXSAVE)) return false;
  unsigned int low, high;
  __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return (low & 6) == 6;
}

// And the mask registers and all of the widest.
bool areWidestRegistersSaved() {
  if (!areWideRegistersSaved()) return false;
  unsigned int low, high;
  __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return (low & 0xE0) == 0xE0;
}

TEST(Cpu, IsOneAndNeverNull) {
  ASSERT_NE(Cpu::getDevice(), nullptr);
  EXPECT_EQ(Cpu::getDevice(), Cpu::getDevice());
}

TEST(Cpu, LevelIsAbove64ExactlyWithSSE41) {
  EXPECT_EQ(Cpu::getDevice()->getSSELevel() > 64, (ask(1).c & bit_SSE4_1) != 0);
  EXPECT_EQ(Cpu::getDevice()->hasSSE(), (ask(1).d & bit_SSE) != 0);
}

TEST(Cpu, LevelFollowsTheScale) {
  Registers const r = ask(1);
  int level = 0;
  if (r.d & bit_SSE) level = 16;
  if (r.d & bit_SSE2) level = 32;
  if (r.c & bit_SSE3) level = 48;
  if (r.c & bit_SSSE3) level = 64;
  if (r.c & bit_SSE4_1) level = 80;
  if (r.c & bit_SSE4_2) level = 96;
  if (areWideRegistersSaved() && (r.c & bit_AVX)) level = 112;
  if (level == 112 && (ask(7).b & bit_AVX2)) level = 128;
  unsigned int const wanted = bit_AVX512F | bit_AVX512VL | bit_AVX512DQ | bit_AVX512BW;
  if (level == 128 && areWidestRegistersSaved() && (ask(7).b & wanted) == wanted) level = 144;
  EXPECT_EQ(Cpu::getDevice()->getSSELevel(), level);
}

}  // namespace
