// SPDX-License-Identifier: MIT
#pragma once

#include <pybind11/pybind11.h>

namespace orlo::python {

/// Declares the exceptions of the module, and the exceptions of the program as these.
void DeclareErrors(pybind11::module_& module);

}  // namespace orlo::python
