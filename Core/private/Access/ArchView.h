#pragma once

#include "Core/private/Access/RowCache.h"
#include "Core/private/Access/simd/SimdVec.h"

namespace pxl::access {

/** The view through which kernels of an architecture read and write: its rows have slack for a whole vector. */
template <class T, class Arch>
using ArchView = View<T, SimdVec::RowAllocator<T, Arch>>;

}  // namespace pxl::access
