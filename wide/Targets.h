#pragma once

#include "Core/private/Helper/InstructionSet.h"
#include "pxl/String.h"
#include "wide/RowKernels.h"

/** Which set of instructions is used. */
namespace pxl::wide {

/** What the narrowest target of x86 needs. Its runners are taken before those of vectors of 128 bits alone. */
inline constexpr helper::InstructionSet cNarrowestSet{80, 2, "wide", "SSE4.2"};

/** What was chosen, or why nothing was. */
struct TargetChoice {
  bool isUsable;
  Targets target;
  String refusal;
};

/**
 * The widest target of the processor, or the one that the environment variable PXLWORKS_WIDE_TARGET names: "sse4",
 * "avx2" or "avx512", and on ARM "neon". It is asked for with each run.
 */
TargetChoice chooseTarget();

}  // namespace pxl::wide
