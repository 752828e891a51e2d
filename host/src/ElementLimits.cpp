#include "ElementLimits.h"

#include <cstdio>
#include <string>

#include "Raise.h"
#include "pxl/Limits.h"

namespace pxl::kernel {
namespace {

constexpr double cMaxCountedRadius = 1000;

std::string explainSize(std::string const& nbVoxels) {
  return "a structuring element has at most " + std::to_string(limits::cMaxNbOffsets) +
         " voxels, this one would need " + nbVoxels;
}

std::string explainEstimate(double nbVoxels) {
  char text[32];
  std::snprintf(text, sizeof text, "about %.3g", nbVoxels);
  return explainSize(text);
}

}  // namespace

void checkNbVoxels(unsigned long nbVoxels) {
  if (nbVoxels > limits::cMaxNbOffsets) PXL_RAISE(InvalidCall, explainSize(std::to_string(nbVoxels)));
}

void refuseElement(double nbVoxels) { PXL_RAISE(InvalidCall, explainEstimate(nbVoxels)); }

String explainRadius(double radius, double nbVoxels) {
  return radius > cMaxCountedRadius ? String(explainEstimate(nbVoxels)) : String();
}

void checkRadius(double radius, double nbVoxels) {
  if (radius > cMaxCountedRadius) refuseElement(nbVoxels);
}

}  // namespace pxl::kernel
