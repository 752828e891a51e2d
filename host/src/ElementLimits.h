#pragma once

#include "pxl/String.h"

namespace pxl::kernel {

/** @throws InvalidCall a structuring element of this many voxels is too large */
void checkNbVoxels(unsigned long nbVoxels);

/** Refuses an element of about this many voxels. @throws InvalidCall always */
[[noreturn]] void refuseElement(double nbVoxels);

/**
 * Why an element of this radius is refused without counting voxels: every round element would be too large. Empty for
 * smaller radii.
 * @param nbVoxels an estimate for large radii
 */
String explainRadius(double radius, double nbVoxels);

/** @throws InvalidCall the radius is refused */
void checkRadius(double radius, double nbVoxels);

}  // namespace pxl::kernel
