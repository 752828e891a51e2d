#pragma once

#include "pxl/Export.h"

namespace pxl::devices {

/** The processor. */
class PXL_API Cpu {
 public:
  /** The processor of this machine; never null. */
  static Cpu* getDevice();

  bool hasSSE() const;

  /**
   * SSE 16, SSE2 32, SSE3 48, SSSE3 64, SSE4.1 80, SSE4.2 96, AVX 112, AVX2 128, AVX-512 with F, VL, DQ and BW 144; 0
   * without SSE.
   */
  int getSSELevel() const;

 private:
  Cpu();
  int m_level;
};

}  // namespace pxl::devices
