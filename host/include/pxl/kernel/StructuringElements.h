#pragma once

#include <vector>

#include "pxl/Export.h"
#include "pxl/kernel/Offsets.h"

/**
 * The voxels of structuring elements, relative to the voxel being computed, which is always one of them. A size or
 * radius of 0 gives that voxel alone. Lists are in the order plan, row, column, except for those of lines, which run
 * along the line. Cost: time and memory proportional to the number of voxels.
 *
 * Angles are in degrees, counter-clockwise as displayed, with rows pointing down; multiples of 90 are exact. Digital
 * lines and planes advance one voxel at a time along the axis of the largest component of their direction or normal.
 * The other coordinates are rounded to the nearest voxel, halves away from zero (J. Bresenham, Algorithm for computer
 * control of a digital plotter, 1965; E. Andres, R. Acharya, C. Sibata, Discrete analytical hyperplanes, 1997).
 *
 * All functions:
 * @throws InvalidCall an angle isn't finite, or the element has more than 10^6 voxels; the text has their number
 */
namespace pxl::kernel {

/** A disk: col^2 + row^2 <= radius^2. */
PXL_API std::vector<Offset2D> generateDiskOffset2DCollection(unsigned long radius);

/** A ball: col^2 + row^2 + plan^2 <= radius^2. */
PXL_API std::vector<Offset3D> generateSphereOffset3DCollection(unsigned long radius);

/**
 * A line of max(lineSize, 1) voxels at any angle. If centred, the extra voxel of an even size is on the far side;
 * else the line begins at the voxel being computed.
 */
PXL_API std::vector<Offset2D> generateLineOffset2DCollectionWithConstNumOfPixels(double angle, unsigned long lineSize,
                                                                                 bool isCentred);

/** The same in a volume. `elevation` is out of the plan, towards higher plans; 0 gives the line in a plan. */
PXL_API std::vector<Offset3D> generateLineOffset3DCollectionWithConstNumOfPixels(double elevation, double azimuth,
                                                                                 unsigned long lineSize,
                                                                                 bool isCentred);

/**
 * A flat disk, one voxel thick: the voxels of a digital plane within the radius. The angles are those of its normal;
 * elevation 90 gives the disk in a plan.
 */
PXL_API std::vector<Offset3D> generateDiskOffset3DCollection(double elevation, double azimuth, unsigned long radius);

}  // namespace pxl::kernel
