#pragma once

#include <cstddef>

#include "pxl/Export.h"

/**
 * Classes that are template arguments of exported templates. An instance is only exported when its arguments are
 * known to be, so that their first declaration must say so, wherever it is met.
 */
namespace pxl {

class PXL_API ImageModel;

namespace analysis {
class PXL_API IntensityExtremaMsr;
}

namespace SimdVec {
template <class T, std::size_t Alignment>
class PXL_API AlignedAllocator;
}

}  // namespace pxl
