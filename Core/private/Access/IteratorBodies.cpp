// Iterators over voxels and neighbourhoods of planes in vectors of 128 bits for the eight voxel types, compiled once
// for each plug-in.
#include "Core/private/Access/IteratorNeighborhood2D.h"
#include "Core/private/Access/IteratorPixel2Inputs1Output.h"
#include "Core/private/Access/IteratorPixelInput.h"
#include "Core/private/Access/IteratorPixelOutput.h"

namespace pxl::access {

#define PXL_COMPILE(T)                                                                   \
  template class IteratorPixelInput<View<T>, cNbLanes128<T>>;                            \
  template class IteratorPixelOutput<View<T>, cNbLanes128<T>>;                           \
  template class IteratorPixel2Inputs1Output<View<T>, View<T>, View<T>, cNbLanes128<T>>; \
  template class IteratorNeighborhood2D_4<View<T>, cNbLanes128<T>>;                      \
  template class IteratorNeighborhood2D_Gen<View<T>, cNbLanes128<T>>;
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILE)
#undef PXL_COMPILE

}  // namespace pxl::access
