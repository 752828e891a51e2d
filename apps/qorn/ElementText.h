#pragma once

#include <string>

#include "pxl/kernel/StructuringElement.h"
#include "qorn/io/ImageHeader.h"

namespace qorn {

/**
 * The element that a text describes, see pxl::kernel::StructuringElement::parse(); "mask(FILE)" and "mask(FILE,
 * ORIGIN)" are the voxels of a file that aren't 0.
 * @throws UsageError the text, or what is wrong with the file; FileError the file can't be read
 */
pxl::kernel::StructuringElement parseElement(std::string const& text);

/** Whether a text is that of an element, and not a name. */
bool isElementText(std::string const& text);

/**
 * The text of a round element with a radius in the units of a file's spacing: of "ball(6)" and "ellipsoid(6)" an
 * ellipsoid, of "disk(6)" and "ellipse(6)" an ellipse.
 * @throws UsageError it is no such text, or the file tells no spacing
 */
std::string applySpacing(std::string const& text, std::string const& path, io::ImageHeader const& header);

}  // namespace qorn
