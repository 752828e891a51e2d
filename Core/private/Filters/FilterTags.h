#pragma once

namespace pxl {

/** A filter that works plan by plan. */
struct Filter2dTag {};
/** A filter that works on volumes. */
struct Filter3dTag {};

/** A filter that writes an image. */
struct FilterWithoutReductionTag {};
/** A filter that computes a value. */
struct FilterWithReductionTag {};

/** A pass that reads the input image of a filter and writes another one. */
struct InputToOutput {};
/** A pass among the images that a filter writes, after which held-back rows are stored. */
struct OutputToOutput {};

}  // namespace pxl
