#pragma once

#include "pxl/BaseAlgorithm.h"
#include "pxl/Property.h"

namespace frame_test {

/** Sets a property of an operator that is known by its name alone; T is exactly the property's type. */
template <class T>
void setProperty(pxl::BaseAlgorithm& algorithm, char const* name, T value) {
  dynamic_cast<pxl::Property<T>&>(*algorithm.findProperty(name)).set(value);
}

}  // namespace frame_test
