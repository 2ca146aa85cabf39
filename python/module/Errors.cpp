// SPDX-License-Identifier: MIT
#include "python/module/Errors.h"

#include <exception>
#include <string>

#include "host/shell/Errors.h"

namespace py = pybind11;

namespace orlo::python {

namespace {

/// The exception types. They live as long as the process: the interpreter may end before the last
/// exception is released.
struct ErrorTypes {
    PyObject* job = nullptr;
    PyObject* usage = nullptr;
    PyObject* condition = nullptr;
    PyObject* cancelled = nullptr;
};

ErrorTypes types;

PyObject* Declare(py::module_& module, const char* name, const char* text, const py::tuple& bases) {
    const std::string fullName = std::string("sonrel.") + name;
    PyObject* const type = PyErr_NewExceptionWithDoc(fullName.c_str(), text, bases.ptr(), nullptr);
    if (type == nullptr) throw py::error_already_set();
    module.add_object(name, py::reinterpret_borrow<py::object>(type));
    return type;
}

PyObject* TypeFor(host::ExitCode code) {
    switch (code) {
        case host::ExitCode::WrongUsage:
            return types.usage;
        case host::ExitCode::ConditionFailed:
            return types.condition;
        case host::ExitCode::Interrupted:
            return types.cancelled;
        case host::ExitCode::Done:
        case host::ExitCode::JobFailed:
            break;
    }
    return types.job;
}

void Translate(std::exception_ptr failure) {
    if (!failure) return;
    try {
        std::rethrow_exception(failure);
    } catch (const host::CommandError& error) {
        PyErr_SetString(TypeFor(error.Code()), error.what());
    }
}

}  // namespace

void DeclareErrors(py::module_& module) {
    types.job = Declare(module, "SonrelError",
                        "A job failed. The text names the failure, the file and the remedy.",
                        py::make_tuple(py::handle(PyExc_Exception)));
    const py::handle job = types.job;
    types.usage = Declare(module, "UsageError", "An argument is invalid.",
                          py::make_tuple(job, py::handle(PyExc_ValueError)));
    types.condition = Declare(module, "ConditionError",
                              "A condition does not hold: media files are missing, for example.",
                              py::make_tuple(job));
    types.cancelled =
        Declare(module, "Cancelled", "The operation was cancelled.", py::make_tuple(job));
    py::register_local_exception_translator(Translate);
}

}  // namespace orlo::python
