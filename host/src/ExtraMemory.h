#pragma once

namespace pxl {

/** Half of the memory that the system, or the control group of the process, has free now, in bytes. */
unsigned long getDefaultExtraMemory();

}  // namespace pxl
