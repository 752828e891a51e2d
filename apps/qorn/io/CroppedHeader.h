#pragma once

#include "pxl/access/Region.h"
#include "qorn/io/ImageHeader.h"

namespace qorn::io {

/** The sizes of a region. */
pxl::ImageSizes getSizes(pxl::access::Region const& region);

/**
 * The header of a part of an image. In NIfTI the voxels of the part keep their places in space and time: both
 * transforms and the time offset move with its first voxel. What is said of the timing of slices is left out. Some of
 * the channels of a picture are no picture; one of them is a grey one.
 */
ImageHeader cropHeader(ImageHeader header, pxl::access::Region const& region);

}  // namespace qorn::io
