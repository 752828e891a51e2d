#pragma once

#include <memory>

namespace pxl::access {

/** Zero-filled memory with a 64-byte aligned start. Large pieces come as whole pages, huge ones where possible. */
std::shared_ptr<void> allocateVoxels(unsigned long bytes);

}  // namespace pxl::access
