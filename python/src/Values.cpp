#include "Values.h"

#include <pybind11/stl.h>

#include <string>
#include <utility>
#include <vector>

#include "Arrays.h"
#include "pxl/AlgoInfo.h"

namespace qorn::python {
namespace {

namespace py = pybind11;

/** The coefficients of a kernel and the place of the one that lies on the voxel. */
struct KernelArray {
  std::vector<double> coefficients;
  std::vector<long> sizes, origin;
};

KernelArray readKernel(py::handle value, py::ssize_t rank) {
  py::object origin = py::none();
  auto array = py::reinterpret_borrow<py::object>(value);
  if (py::isinstance<py::tuple>(value)) {
    std::tie(array, origin) = value.cast<std::pair<py::object, py::object>>();
  }
  py::buffer_info const info = array.cast<py::buffer>().request();
  KernelArray kernel;
  if (info.ndim != rank || info.itemsize != sizeof(double) || findVoxelType(info) != pxl::cDouble) {
    throw py::type_error("a kernel is an array of float64 with " + std::to_string(rank) + " axes");
  }
  for (py::ssize_t const size : info.shape) kernel.sizes.push_back(size);
  py::ssize_t stride = sizeof(double);
  for (std::size_t i = kernel.sizes.size(); i-- > 0; stride *= info.shape[i]) {
    if (info.size > 0 && info.shape[i] > 1 && info.strides[i] != stride) {
      throw py::type_error("a kernel is an array in C order");
    }
  }
  auto const* const first = static_cast<double const*>(info.ptr);
  kernel.coefficients.assign(first, first + info.size);
  for (long const size : kernel.sizes) kernel.origin.push_back(size / 2);
  if (!origin.is_none()) kernel.origin = origin.cast<std::vector<long>>();
  if (kernel.origin.size() != kernel.sizes.size()) throw py::value_error("an origin has a number for each axis");
  return kernel;
}

/** Sets a property; one that isn't given by name is refused. */
class ValueSetter {
 public:
  explicit ValueSetter(py::handle value) : m_value(value) {}

  void operator()(pxl::PropertyBase& property) const {
    throw py::value_error(std::string(property.getName()) + " is " + getTypeName(property) +
                          ", which isn't given by name");
  }
  void operator()(pxl::Property<int>& property) const {
    int value = 0;
    if (py::isinstance<py::str>(m_value)) {
      std::string const text = m_value.cast<std::string>();
      if (!property.getChoices().findValue(text, value)) refuseName(property, text);
      property.set(value);
    } else {
      property.set(m_value.cast<int>());
    }
  }
  void operator()(pxl::Property<unsigned int>& property) const { property.set(m_value.cast<unsigned int>()); }
  void operator()(pxl::Property<double>& property) const { property.set(m_value.cast<double>()); }
  void operator()(pxl::Property<pxl::kernel::Kernel2D>& property) const {
    KernelArray const k = readKernel(m_value, 2);
    property.set(pxl::kernel::Kernel2D(k.coefficients.data(), k.sizes[0], k.sizes[1], k.origin[0], k.origin[1]));
  }
  void operator()(pxl::Property<pxl::kernel::Kernel3D>& property) const {
    KernelArray const k = readKernel(m_value, 3);
    property.set(pxl::kernel::Kernel3D(k.coefficients.data(), k.sizes[0], k.sizes[1], k.sizes[2], k.origin[0],
                                       k.origin[1], k.origin[2]));
  }
  void operator()(pxl::Property<pxl::kernel::StructuringElement>& property) const {
    using pxl::kernel::StructuringElement;
    property.set(py::isinstance<py::str>(m_value) ? StructuringElement::parse(m_value.cast<std::string>())
                                                  : m_value.cast<StructuringElement const&>());
  }

 private:
  [[noreturn]] static void refuseName(pxl::Property<int> const& property, std::string const& text) {
    std::string known;
    for (pxl::Choice const& choice : property.getChoices())
      known += (known.empty() ? "" : ", ") + std::string(choice.name);
    throw py::value_error(std::string(property.getName()) + "='" + text +
                          "': " + (known.empty() ? "a number is needed" : "known are " + known));
  }

  py::handle m_value;
};

}  // namespace

void setProperties(pxl::BaseAlgorithm& algorithm, py::dict const& values) {
  std::string const of = std::string(" of ") + algorithm.getAlgoInfo()->getName();
  for (auto const& [key, value] : values) {
    auto const name = key.cast<std::string>();
    pxl::PropertyBase* const property = algorithm.findProperty(name.c_str());
    if (property == nullptr) throw py::value_error(name + " is no property" + of);
    try {
      pxl::visitProperty(*property, ValueSetter(value));
    } catch (py::cast_error const&) {
      std::string const what = name + of + " has the type " + getTypeName(*property);
      if (PyLong_Check(value.ptr()))
        throw py::value_error(what + ", which doesn't hold " + py::str(value).cast<std::string>());
      throw py::type_error(what + ", and " + py::repr(value).cast<std::string>().substr(0, 60) + " is none");
    }
  }
  for (pxl::PropertyBase const* property : algorithm.getProperties()) {
    bool const isImage = property->getKind() <= pxl::PropertyKinds::cOutputImage;
    if (!isImage && property->getKind() != pxl::PropertyKinds::cMeasure && !property->isSet()) {
      throw py::value_error(std::string(property->getName()) + of + " is missing, or empty");
    }
  }
}

py::dict getResults(pxl::analysis::Measure const& measure) {
  py::dict results;
  for (auto const& entry : measure.getEntries()) {
    unsigned long const n0 = entry.array->getSize(0), n1 = entry.array->getSize(1), n2 = entry.array->getSize(2);
    std::vector<double> values;
    values.reserve(n0 * n1 * n2);
    for (unsigned long i0 = 0; i0 < n0; ++i0) {
      for (unsigned long i1 = 0; i1 < n1; ++i1) {
        for (unsigned long i2 = 0; i2 < n2; ++i2) values.push_back(entry.array->getValue(i0, i1, i2));
      }
    }
    py::bytes const bytes(reinterpret_cast<char const*>(values.data()), values.size() * sizeof(double));
    results[entry.name] = py::make_tuple(py::make_tuple(n0, n1, n2), bytes);
  }
  return results;
}

}  // namespace qorn::python
