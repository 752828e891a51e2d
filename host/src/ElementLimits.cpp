#include "ElementLimits.h"

#include <cstdio>
#include <string>

#include "Raise.h"

namespace pxl::kernel {
namespace {

constexpr unsigned long cMaxNbVoxels = 1000000;
constexpr double cMaxCountedRadius = 1000;

[[noreturn]] void refuse(std::string const& nbVoxels) {
  PXL_RAISE(InvalidCall, "a structuring element has at most 1000000 voxels, this one would need " + nbVoxels);
}

}  // namespace

void checkNbVoxels(unsigned long nbVoxels) {
  if (nbVoxels > cMaxNbVoxels) refuse(std::to_string(nbVoxels));
}

void refuseElement(double nbVoxels) {
  char text[32];
  std::snprintf(text, sizeof text, "about %.3g", nbVoxels);
  refuse(text);
}

void checkRadius(double radius, double nbVoxels) {
  if (radius > cMaxCountedRadius) refuseElement(nbVoxels);
}

}  // namespace pxl::kernel
