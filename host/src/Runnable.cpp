#include "pxl/Runnable.h"

namespace pxl {

Runnable::~Runnable() = default;

char const* Runnable::getName() const { return ""; }

}  // namespace pxl
