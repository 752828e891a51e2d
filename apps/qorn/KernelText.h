#pragma once

#include <optional>
#include <string>

#include "pxl/Property.h"

namespace qorn {

/**
 * Sets a kernel property. `value` is a .npy file with an array of that rank, a preset, or the coefficients: numbers
 * separated by blanks, rows by ';' and plans by '|'. `origin` is the position of the voxel itself in the kernel:
 * column, row and, in 3D, plan, separated by commas; by default half of each size, rounded down.
 * @throws UsageError the value or the origin is invalid
 * @throws FileError  the file can't be read
 */
void setKernel(pxl::Property<pxl::kernel::Kernel2D>& property, std::string const& value,
               std::optional<std::string> const& origin);
void setKernel(pxl::Property<pxl::kernel::Kernel3D>& property, std::string const& value,
               std::optional<std::string> const& origin);

}  // namespace qorn
