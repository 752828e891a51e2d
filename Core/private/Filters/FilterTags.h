#pragma once

namespace pxl {

/** A filter that works plan by plan. */
struct Filter2dTag {};
/** A filter that works on volumes. */
struct Filter3dTag {};

/** A filter that writes an image. */
struct FilterWithoutReductionTag {};
/** A filter that yields a value. */
struct FilterWithReductionTag {};

}  // namespace pxl
