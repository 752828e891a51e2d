#include "wide/Targets.h"

#include <cstdlib>
#include <cstring>
#include <iterator>

#include "pxl/devices/Cpu.h"
#include "wide/TargetTable.h"

namespace pxl::wide {
namespace {

TargetChoice choose(char const* wanted) {
  int const level = devices::Cpu::getDevice()->getSSELevel();
  for (auto set = std::crbegin(cTargets); set != std::crend(cTargets); ++set)
    if (level >= set->level && (!wanted || std::strcmp(wanted, set->name) == 0)) return {true, set->target, String()};
  return {false, cTargets->target,
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
