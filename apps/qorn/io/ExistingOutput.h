#pragma once

#include <memory>
#include <optional>
#include <string>

#include "pxl/Image.h"
#include "qorn/io/ImageHeader.h"

namespace qorn::io {

/**
 * An existing .npy file as an output image. Writes go to the file immediately, even if the run is cancelled later.
 *
 * @param input  the image whose sizes the file must have
 * @param type   the voxel type that the file must have; any if there is none
 * @throws FileError the file doesn't exist, can't be written, or has another format, type or size
 */
std::shared_ptr<pxl::Image> openExistingOutput(std::string const& path, ImageHeader const& input,
                                               std::optional<pxl::VoxelTypes> type);

}  // namespace qorn::io
