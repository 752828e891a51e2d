#include "pxl/Runnable.h"

namespace pxl {

Runnable::~Runnable() = default;

String Runnable::explainRefusal(BaseAlgorithm*) const { return String(); }
char const* Runnable::getName() const { return ""; }
bool Runnable::splitsElements() const { return false; }

}  // namespace pxl
