#include "morphology/Passes3d.h"

namespace pxl::morphology {

#define PXL_COMPILE(T) PXL_PASSES_3D(, details::DilationFunctor, T)
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILE)
#undef PXL_COMPILE

}  // namespace pxl::morphology
