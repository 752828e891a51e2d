#pragma once

namespace pxl {

/** The setting PXL_MAX_EXTRA_MEMORY in bytes, else half of the free memory of the system and the process's groups. */
unsigned long getDefaultExtraMemory();

}  // namespace pxl
