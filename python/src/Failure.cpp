#include "Failure.h"

#include <string>

#include "pxl/Exception.h"

namespace qorn::python {
namespace {

namespace py = pybind11;

// Never destroyed: exceptions may be raised until the very end.
PyObject* s_error;
PyObject* s_cancelled;

/** What there was no room for is told by the text alone. */
PyObject* getTypeFor(pxl::RuleException const& error) {
  return std::string(error.what()).find("disk") != std::string::npos ? PyExc_OSError : PyExc_MemoryError;
}

void translate(std::exception_ptr failure) {
  try {
    if (failure) std::rethrow_exception(failure);
  } catch (Cancelled const& error) {
    PyErr_SetString(s_cancelled, error.what());
  } catch (Failure const& error) {
    PyErr_SetString(s_error, error.what());
  } catch (SystemFailure const& error) {
    PyErr_SetString(PyExc_OSError, error.what());
  } catch (pxl::ExceptionCancelation const&) {
    PyErr_SetString(s_cancelled, "cancelled");
  } catch (pxl::InvalidCall const& error) {
    PyErr_SetString(PyExc_ValueError, error.what());
  } catch (pxl::RuleException const& error) {
    PyErr_SetString(getTypeFor(error), error.what());
  } catch (pxl::Exception const& error) {
    PyErr_SetString(s_error, error.what());
  }
}

}  // namespace

void addExceptions(py::module_& module) {
  s_error = PyErr_NewExceptionWithDoc("qorn.Error", "A call that can't be done, with the reason in one line.",
                                      PyExc_RuntimeError, nullptr);
  if (s_error == nullptr) throw py::error_already_set();
  s_cancelled =
      PyErr_NewExceptionWithDoc("qorn.Cancelled", "A call that was cancelled by its token.", s_error, nullptr);
  if (s_cancelled == nullptr) throw py::error_already_set();
  module.attr("Error") = py::reinterpret_borrow<py::object>(s_error);
  module.attr("Cancelled") = py::reinterpret_borrow<py::object>(s_cancelled);
  py::register_local_exception_translator(translate);
}

}  // namespace qorn::python
