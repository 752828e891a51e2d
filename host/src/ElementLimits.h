#pragma once

namespace pxl::kernel {

/** @throws InvalidCall a structuring element of so many voxels is too large */
void checkNbVoxels(unsigned long nbVoxels);

/** Refuses an element of about so many voxels. @throws InvalidCall */
[[noreturn]] void refuseElement(double nbVoxels);

/**
 * Refuses radii at which every round element is too large, so that its voxels needn't be counted one by one.
 * @param nbVoxels an estimate for large radii
 */
void checkRadius(double radius, double nbVoxels);

}  // namespace pxl::kernel
