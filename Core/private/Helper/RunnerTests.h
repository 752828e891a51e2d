#pragma once

#include "pxl/String.h"
#include "pxl/VoxelTypes.h"
#include "pxl/devices/Cpu.h"

/** The tests of which the acceptance rules of runners consist. */
namespace pxl::helper {

/** Whether a type is one of the integers for which there are kernels: up to 32 bits. */
inline bool isIntegerVoxelType(int type) {
  switch (type) {
    case cUnsignedInteger8:
    case cUnsignedInteger16:
    case cUnsignedInteger32:
    case cInteger8:
    case cInteger16:
    case cInteger32:
      return true;
    default:
      return false;
  }
}

inline bool isRealVoxelType(int type) { return type == cFloat || type == cDouble; }

/** Whether float holds every voxel of a type exactly. As a mask of the numbers of the types: 0x133. */
inline bool isExactInFloat(int type) {
  switch (type) {
    case cUnsignedInteger8:
    case cUnsignedInteger16:
    case cInteger8:
    case cInteger16:
    case cFloat:
      return true;
    default:
      return false;
  }
}

/** One of the eight types for which there are kernels. */
inline bool isKernelVoxelType(int type) { return isIntegerVoxelType(type) || isRealVoxelType(type); }

// The device is asked each time: its answer must not be cached.
inline bool hasSSE() { return devices::Cpu::getDevice()->hasSSE(); }

/** Whether the processor has SSE4.1: any level of the host's scale above that of the previous instruction set. */
inline bool hasSSE41Level() {
  constexpr int cLevelBelowSSE41 = 64;
  return devices::Cpu::getDevice()->getSSELevel() > cLevelBelowSSE41;
}

/** What the processor lacks for the runners of this library, for users; empty if it lacks nothing. */
inline String explainProcessor() {
  return hasSSE() && hasSSE41Level() ? String() : String("the processor has no SSE4.1");
}

/** The optimisation type of all runners of this library. */
constexpr int cOptimType = 1;
/** The name of all runners of this library. */
constexpr char cRunnerName[] = "sse41";

}  // namespace pxl::helper
