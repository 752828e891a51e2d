#include "pxl/devices/Cpu.h"

#include "instrument/Instrument.h"

namespace pxl::devices {
namespace {

// The compiler's test also checks that the operating system saves the wide registers.
int detectLevel() {
#ifdef __x86_64__
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq") &&
      __builtin_cpu_supports("avx512bw"))
    return 144;
  if (__builtin_cpu_supports("avx2")) return 128;
  if (__builtin_cpu_supports("avx")) return 112;
  if (__builtin_cpu_supports("sse4.2")) return 96;
  if (__builtin_cpu_supports("sse4.1")) return 80;
  if (__builtin_cpu_supports("ssse3")) return 64;
  if (__builtin_cpu_supports("sse3")) return 48;
  if (__builtin_cpu_supports("sse2")) return 32;
  if (__builtin_cpu_supports("sse")) return 16;
#endif
  return 0;
}

}  // namespace

Cpu::Cpu() : m_level(detectLevel()) {}

Cpu* Cpu::getDevice() {
  static Cpu cpu;
  return &cpu;
}

bool Cpu::hasSSE() const {
  bool result = m_level >= 16;
  PXL_PROBE(onHasSSE(result));
  return result;
}

int Cpu::getSSELevel() const {
  int level = m_level;
  PXL_PROBE(onSSELevel(level));
  return level;
}

}  // namespace pxl::devices
