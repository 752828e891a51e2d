#pragma once

#include <pybind11/pybind11.h>

#include <stdexcept>

namespace qorn::python {

/** Becomes qorn.Error. */
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/** Becomes qorn.Cancelled. */
class Cancelled : public Failure {
 public:
  using Failure::Failure;
};

/** A failure of the system, such as a full disk. Becomes OSError. */
class SystemFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/** Adds Error and Cancelled to the module, and the rules by which the exceptions of C++ become those of Python. */
void addExceptions(pybind11::module_& module);

}  // namespace qorn::python
