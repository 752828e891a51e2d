#include <pybind11/pybind11.h>

#include <optional>

#include "Calls.h"
#include "Failure.h"
#include "Operators.h"
#include "pxl/Plugins.h"

namespace {

/** `with` it, other modules let other threads run. */
class CallContext {
 public:
  void enter() { m_call.emplace(); }
  void exit(pybind11::args const&) { m_call.reset(); }

 private:
  std::optional<qorn::python::Call> m_call;
};

}  // namespace

PYBIND11_MODULE(_core, module) {
  namespace py = pybind11;
  module.doc() = "The operators of the host, without names and defaults of their own.";
  pxl::plugins::loadFolder();
  qorn::python::addExceptions(module);
  qorn::python::addElements(module);
  qorn::python::addOperators(module);
  py::class_<CallContext>(module, "Call")
      .def(py::init())
      .def("__enter__", &CallContext::enter)
      .def("__exit__", &CallContext::exit);
  module.def("end_calls", qorn::python::endCalls);
}
