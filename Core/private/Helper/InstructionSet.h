#pragma once

#include <string>

#include "pxl/Runnable.h"
#include "pxl/devices/Cpu.h"

namespace pxl::helper {

/** The instructions for which a plug-in is compiled, and the answers of its runners that depend on them. */
struct InstructionSet {
  /** The level of the previous set, on the scale of devices::Cpu: a processor above it has this set. */
  int levelBefore;
  /** Of the runners that accept, the host takes one of the highest type. */
  int optimType;
  /** The name by which users choose the runners. */
  char const* runnerName;
  /** The name in messages. */
  char const* displayName;

  // The device is asked each time: its answer must not be cached.
  bool hasSSE() const { return devices::Cpu::getDevice()->hasSSE(); }
  bool hasLevel() const { return devices::Cpu::getDevice()->getSSELevel() > levelBefore; }
  bool isAvailable() const { return hasSSE() && hasLevel(); }

  /** What the processor lacks for the runners, for users; empty if it lacks nothing. */
  String explainProcessor() const {
    return isAvailable() ? String() : String(std::string("the processor has no ") + displayName);
  }
};

/** The set of plug-ins with vectors of 128 bits. */
inline constexpr InstructionSet cSSE41{64, 1, "sse41", "SSE4.1"};

}  // namespace pxl::helper

/**
 * What all runners for a set answer alike. Members, to be placed in the class of a runner: it derives from Runnable
 * directly, so that a plug-in has no classes between the host's interface and its runners.
 */
#define PXL_RUNS_ON(Set)                                        \
  int getOptimType() const override { return (Set).optimType; } \
  char const* getName() const override { return (Set).runnerName; }
