#pragma once

namespace pxl::kernel {

// About how many voxels the round elements have that StructuringElements.h makes, for radii too large to count them.

double estimateDisk(double radius);
double estimateBall(double radius);
/** @throws InvalidCall an angle isn't finite */
double estimateOrientedDisk(double elevation, double azimuth, double radius);

}  // namespace pxl::kernel
