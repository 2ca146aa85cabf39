// SPDX-License-Identifier: MIT
#pragma once

#include <pybind11/pybind11.h>

/// The classes of the module, in this order: docstrings name the classes of arguments and results.
namespace orlo::python {

void DeclareCancellation(pybind11::module_& module);
void DeclareMeters(pybind11::module_& module);
void DeclareMediaResults(pybind11::module_& module);
void DeclareProject(pybind11::module_& module);
void DeclareSession(pybind11::module_& module);

}  // namespace orlo::python
