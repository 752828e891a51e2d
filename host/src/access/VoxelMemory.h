#pragma once

#include <memory>

namespace pxl::access {

/** Zero-filled, 64-byte aligned memory. Large blocks consist of whole pages, huge pages where possible. */
std::shared_ptr<void> allocateVoxels(unsigned long bytes);

}  // namespace pxl::access
