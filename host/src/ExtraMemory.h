#pragma once

namespace pxl {

/** Bytes: what the setting PXL_MAX_EXTRA_MEMORY says, else half of what the system, or the process's group, has free.
 */
unsigned long getDefaultExtraMemory();

}  // namespace pxl
