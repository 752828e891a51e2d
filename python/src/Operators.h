#pragma once

#include <pybind11/pybind11.h>

#include <memory>
#include <string>

#include "pxl/BaseAlgorithm.h"

/** Operators by their names, as the host describes them. */
namespace qorn::python {

/** @throws ValueError there is no such operator, or `properties` don't fit */
std::unique_ptr<pxl::BaseAlgorithm> makeAlgorithm(std::string const& name, pybind11::dict const& properties);

/** Adds what is asked of operators and how they are run. */
void addOperators(pybind11::module_& module);

/** Adds structuring elements. */
void addElements(pybind11::module_& module);

/** The offsets as bytes of long, plan, row and column of each. */
pybind11::bytes getOffsetBytes(std::vector<pxl::kernel::Offset3D> const& offsets);

/** Voxels before and after in plans, rows and columns. */
pybind11::tuple getMarginTuple(pxl::kernel::Margins const& margins);

}  // namespace qorn::python
