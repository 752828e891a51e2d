#pragma once

#include <optional>
#include <string>

#include "pxl/Property.h"

namespace qorn {

/**
 * Sets a property of a kernel. `value` is a .npy file with an array of that rank, a preset, or the coefficients:
 * numbers with blanks between them, rows end with ';' and plans with '|'. `origin` are column, row and, in 3D, plan
 * of the element that lies on the voxel, with commas between them; by default the one at half of each size, rounded
 * down.
 * @throws UsageError, and FileError if the file can't be read
 */
void setKernel(pxl::Property<pxl::kernel::Kernel2D>& property, std::string const& value,
               std::optional<std::string> const& origin);
void setKernel(pxl::Property<pxl::kernel::Kernel3D>& property, std::string const& value,
               std::optional<std::string> const& origin);

}  // namespace qorn
