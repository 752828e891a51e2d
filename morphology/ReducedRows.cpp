// Row memos, compiled once for the eight voxel types.
#include "morphology/ReducedRows.h"

namespace pxl::morphology {

PlanStarts::PlanStarts() : starts(std::make_shared<OfThreads>()) {}
PlanStarts::~PlanStarts() = default;
PlanStarts::Starts& PlanStarts::get() const { return starts->local(); }

#define PXL_COMPILE(T) template struct ReducedRows<T, SimdVec::arch_128_tag>;
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILE)
#undef PXL_COMPILE

}  // namespace pxl::morphology
