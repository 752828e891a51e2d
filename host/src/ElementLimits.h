#pragma once

namespace pxl::kernel {

/** @throws InvalidCall a structuring element of this many voxels is too large */
void checkNbVoxels(unsigned long nbVoxels);

/** Refuses an element of about this many voxels. @throws InvalidCall always */
[[noreturn]] void refuseElement(double nbVoxels);

/**
 * Refuses radii at which every round element is too large, without counting voxels.
 * @param nbVoxels an estimate for large radii
 */
void checkRadius(double radius, double nbVoxels);

}  // namespace pxl::kernel
