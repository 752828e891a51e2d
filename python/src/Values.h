#pragma once

#include <pybind11/pybind11.h>

#include "pxl/BaseAlgorithm.h"
#include "pxl/Property.h"
#include "pxl/analysis/Measure.h"

namespace qorn::python {

/**
 * Sets properties by their names: numbers, names of values, elements or their texts, and kernels as arrays of double
 * or pairs of such an array and its origin, in the order of the array.
 * @throws ValueError a name that isn't known, a property that is missing, a value that can't be one; TypeError
 */
void setProperties(pxl::BaseAlgorithm& algorithm, pybind11::dict const& values);

/** The results of a measure: name -> (shape, bytes of doubles in C order). */
pybind11::dict getResults(pxl::analysis::Measure const& measure);

}  // namespace qorn::python
