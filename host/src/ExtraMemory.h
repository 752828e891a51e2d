#pragma once

namespace pxl {

/** Bytes: what the setting PXL_MAX_EXTRA_MEMORY says, else half of what the system and the process's groups have
 * free.
 */
unsigned long getDefaultExtraMemory();

}  // namespace pxl
