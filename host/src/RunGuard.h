#pragma once

#include "pxl/Noncopyable.h"

namespace pxl::plugins {

/** While one exists no plug-in is unloaded. */
class RunGuard : private Noncopyable {
 public:
  RunGuard();
  ~RunGuard();
};

}  // namespace pxl::plugins
