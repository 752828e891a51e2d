#include "wide/Targets.h"

#include <cstdlib>
#include <cstring>

#include "pxl/devices/Cpu.h"

namespace pxl::wide {
namespace {

constexpr char const* cNames[cNbTargets] = {"sse4", "avx2", "avx512"};

// By the host's scale.
constexpr int cLevels[cNbTargets] = {96, 128, 144};

TargetChoice choose(char const* wanted) {
  int const level = devices::Cpu::getDevice()->getSSELevel();
  for (int i = cNbTargets; i-- > 0;)
    if (level >= cLevels[i] && (!wanted || std::strcmp(wanted, cNames[i]) == 0))
      return {true, static_cast<Targets>(i), String()};
  return {false, Targets::cSse4,
          wanted ? String("PXLWORKS_WIDE_TARGET is no target of this processor") : cNarrowestSet.explainProcessor()};
}

}  // namespace

TargetChoice chooseTarget() {
  char const* const wanted = std::getenv("PXLWORKS_WIDE_TARGET");
  return choose(wanted && *wanted ? wanted : nullptr);
}

RowKernels const* getRowKernels8(Targets target, VoxelTypes type, Polarities polarity);
RowKernels const* getRowKernels16(Targets target, VoxelTypes type, Polarities polarity);
RowKernels const* getRowKernels32(Targets target, VoxelTypes type, Polarities polarity);
RowKernels const* getRowKernelsReal(Targets target, VoxelTypes type, Polarities polarity);

RowKernels const* getRowKernels(Targets target, VoxelTypes type, Polarities polarity) {
  switch (type) {
    case cUnsignedInteger8:
    case cInteger8:
      return getRowKernels8(target, type, polarity);
    case cUnsignedInteger16:
    case cInteger16:
      return getRowKernels16(target, type, polarity);
    case cUnsignedInteger32:
    case cInteger32:
      return getRowKernels32(target, type, polarity);
    case cFloat:
    case cDouble:
      return getRowKernelsReal(target, type, polarity);
    default:
      return nullptr;
  }
}

}  // namespace pxl::wide
