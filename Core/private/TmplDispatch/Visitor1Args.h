#pragma once

#include <locale>
#include <sstream>

#include "Core/private/Helper/Raise.h"
#include "Core/private/TmplDispatch/TypeList.h"
#include "pxl/VoxelTypes.h"

namespace pxl::tmpl_dispatch {

/**
 * Maps a run-time voxel type to a call of Visitor::run<T>(arg). Nothing is called for a known type that isn't in the
 * list, and for the two complex types.
 * @throws RuntimeError the type is a 64-bit integer, or not a voxel type
 */
template <class List, class Visitor, class Arg>
class Visitor1Args {
 public:
  void operator()(int voxelType, Arg arg) const {
    switch (voxelType) {
      case cUnsignedInteger8:
        return runIfListed<unsigned char>(arg);
      case cUnsignedInteger16:
        return runIfListed<unsigned short>(arg);
      case cUnsignedInteger32:
        return runIfListed<unsigned int>(arg);
      case cInteger8:
        return runIfListed<signed char>(arg);
      case cInteger16:
        return runIfListed<short>(arg);
      case cInteger32:
        return runIfListed<int>(arg);
      case cFloat:
        return runIfListed<float>(arg);
      case cDouble:
        return runIfListed<double>(arg);
      case cComplexFloat:
      case cComplexDouble:
        return;
      default:
        refuse(voxelType);
    }
  }

 private:
  template <class T>
  static void runIfListed([[maybe_unused]] Arg arg) {
    if constexpr (List::template cContains<T>) Visitor::template run<T>(arg);
  }

  [[noreturn]] static void refuse(int voxelType) {
    std::ostringstream message;
    message.imbue(std::locale::classic());
    message << "Invalid type in Visitor1Args : " << voxelType;
    helper::raise<RuntimeError>(message.str(), "Core/private/TmplDispatch/Visitor1Args", 139);
  }
};

}  // namespace pxl::tmpl_dispatch
