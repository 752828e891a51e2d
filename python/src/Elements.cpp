#include <pybind11/stl.h>

#include <cstdint>
#include <vector>

#include "Arrays.h"
#include "Operators.h"
#include "pxl/kernel/StructuringElement.h"

namespace qorn::python {
namespace {

namespace py = pybind11;
using pxl::kernel::StructuringElement;

StructuringElement makeMask(py::buffer const& array, std::vector<long> const& origin) {
  py::buffer_info const info = array.request();
  if (findVoxelType(info) != pxl::cUnsignedInteger8 || PyBuffer_IsContiguous(info.view(), 'C') == 0) {
    throw py::type_error("a mask is an array of bool or uint8 in C order");
  }
  return StructuringElement::mask(static_cast<unsigned char const*>(info.ptr),
                                  std::vector<long>(info.shape.begin(), info.shape.end()), origin);
}

}  // namespace

py::bytes getOffsetBytes(std::vector<pxl::kernel::Offset3D> const& offsets) {
  std::vector<std::int64_t> numbers;
  numbers.reserve(3 * offsets.size());
  for (auto const& offset : offsets) numbers.insert(numbers.end(), {offset.plan, offset.row, offset.col});
  return py::bytes(reinterpret_cast<char const*>(numbers.data()), numbers.size() * sizeof(std::int64_t));
}

void addElements(py::module_& module) {
  py::class_<StructuringElement>(module, "Element")
      .def(py::init([](std::string const& text) { return StructuringElement::parse(text); }), py::arg("text"))
      .def_static("from_mask", makeMask, py::arg("array"), py::arg("origin"))
      .def_property_readonly("text", [](StructuringElement const& e) { return e.toString().str(); })
      .def_property_readonly("ndim", &StructuringElement::getDimension)
      .def_property_readonly("mirrored", &StructuringElement::getMirrored)
      .def_property_readonly("margins", [](StructuringElement const& e) { return getMarginTuple(e.getMargins()); })
      .def("offsets", [](StructuringElement const& e) { return getOffsetBytes(e.getOffsets()); })
      .def(
          "equals", [](StructuringElement const& e, StructuringElement const& other) { return e == other; },
          py::arg("other"));
}

}  // namespace qorn::python
