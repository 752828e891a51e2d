#pragma once

#include <string>

#include "pxl/kernel/StructuringElement.h"
#include "qorn/io/ImageHeader.h"

namespace qorn {

/**
 * The element that a text describes, see pxl::kernel::StructuringElement::parse(). "mask(FILE)" and "mask(FILE,
 * ORIGIN)" are the nonzero voxels of a file.
 * @throws UsageError the text is malformed, or the file isn't a mask
 * @throws FileError  the file can't be read
 */
pxl::kernel::StructuringElement parseElement(std::string const& text);

/** Whether a text describes an element and isn't a name. */
bool isElementText(std::string const& text);

/**
 * The text of a round element whose radius is in the units of a file's spacing: an ellipsoid for "ball(6)" and
 * "ellipsoid(6)", an ellipse for "disk(6)" and "ellipse(6)".
 * @throws UsageError the text is none of these, or the file has no spacing
 */
std::string applySpacing(std::string const& text, std::string const& path, io::ImageHeader const& header);

}  // namespace qorn
