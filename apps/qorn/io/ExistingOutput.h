#pragma once

#include <memory>
#include <optional>
#include <string>

#include "pxl/Image.h"
#include "qorn/io/ImageHeader.h"

namespace qorn::io {

/**
 * An existing .npy file as an output image that is written voxel by voxel in the file. What is written is in the file
 * at once, also when a run is cancelled later.
 *
 * @param input  the image whose sizes the file must have
 * @param type   the voxel type that the file must have; any if there is none
 * @throws FileError the file isn't there, can't be written, has another format, type or size
 */
std::shared_ptr<pxl::Image> openExistingOutput(std::string const& path, ImageHeader const& input,
                                               std::optional<pxl::VoxelTypes> type);

}  // namespace qorn::io
