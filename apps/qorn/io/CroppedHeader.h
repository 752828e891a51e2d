#pragma once

#include "pxl/access/Region.h"
#include "qorn/io/ImageHeader.h"

namespace qorn::io {

/** The sizes of a region. */
pxl::ImageSizes getSizes(pxl::access::Region const& region);

/**
 * The header of a part of an image. In NIfTI the voxels of the part keep their positions in space and time: both
 * transforms and the time offset are shifted to its first voxel. The timing of slices is dropped. Several but not all
 * channels of a picture are no longer a picture; a single one is a grey picture.
 */
ImageHeader cropHeader(ImageHeader header, pxl::access::Region const& region);

}  // namespace qorn::io
