#pragma once

#include <array>
#include <optional>
#include <string>

#include "pxl/Image.h"
#include "pxl/access/Region.h"

namespace qorn {

/** A part of an image as given on the command line; the size of the image isn't known yet. */
struct WindowText {
  struct Range {
    std::optional<unsigned long> begin;
    std::optional<unsigned long> end;
  };
  std::string option;  ///< such as "--crop 0:10", for messages
  std::array<Range, pxl::cNbComponents> ranges;
};

/**
 * Parses "x0:x1,y0:y1,z0:z1,t0:t1,c0:c1": columns, rows, plans, sequence and spectral series, from 0, each end
 * excluded. Missing axes at the end are whole, and so is a range ":"; "5:" extends to the end of the axis, and ":5"
 * begins at 0.
 * @throws UsageError the text is malformed
 *
 * @param name  of the option, such as "--crop"
 */
WindowText parseWindow(std::string const& name, std::string const& text);

/** The part of an image of these sizes. @throws UsageError it is empty or reaches beyond the image */
pxl::access::Region makeRegion(WindowText const& window, pxl::ImageSizes const& sizes);

/** The part of an image that --crop or --window selects; nothing without them. @throws UsageError */
std::optional<pxl::access::Region> getRegion(std::optional<WindowText> const& crop,
                                             std::optional<WindowText> const& window, pxl::ImageSizes const& sizes);

}  // namespace qorn
