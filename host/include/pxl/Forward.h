#pragma once

#include <cstddef>

#include "pxl/Export.h"

/**
 * Classes that are template arguments of exported templates. An instance is exported only if its arguments are known
 * to be exported, so their first declaration in any unit must say so.
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
