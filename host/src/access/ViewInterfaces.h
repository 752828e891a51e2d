#pragma once

#include <memory>

#include "pxl/access/ViewInterface.h"
#include "pxl/access/VoxelStorage.h"

namespace pxl::access {

/**
 * The interface object of a window of a storage as voxels of type T. Equal windows of one place share one object as
 * long as it is in use.
 */
template <class T>
std::shared_ptr<ViewInterface<T>> getViewInterface(VoxelSource const& source);

}  // namespace pxl::access
