// SPDX-License-Identifier: MIT
#include <pybind11/pybind11.h>

#include "host/shell/LibraryMessage.h"
#include "python/module/Bindings.h"
#include "python/module/Errors.h"
#include "python/module/Operation.h"
#include "python/module/Session.h"
#include "sonrel/media/input/MediaLog.h"

namespace py = pybind11;
namespace sonrel_python = orlo::python;

namespace {

/// Engines must end before the libraries do. Operations that cannot be stopped keep their engines.
void EndSessions() {
    if (!sonrel_python::StopAllOperations()) return;
    const py::gil_scoped_release released;
    sonrel_python::CloseAllSessions();
}

}  // namespace

PYBIND11_MODULE(_sonrel, module) {
    module.attr("__version__") = SONREL_VERSION;
    // The classes belong to the package.
    module.attr("__module__") = "sonrel";
    zrh::media::SetMediaLog(orlo::host::StoreLibraryMessage);
    sonrel_python::DeclareErrors(module);
    sonrel_python::DeclareCancellation(module);
    sonrel_python::DeclareMeters(module);
    sonrel_python::DeclareMediaResults(module);
    sonrel_python::DeclareProject(module);
    sonrel_python::DeclareSession(module);
    py::delattr(module, "__module__");
    py::module_::import("atexit").attr("register")(py::cpp_function(EndSessions));
}
