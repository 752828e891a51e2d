#include "pxl/Runnable.h"

namespace pxl {

Runnable::~Runnable() = default;

}  // namespace pxl
