// SPDX-License-Identifier: MIT
#pragma once

#include <pybind11/pybind11.h>

#include <memory>

#include "python/module/Session.h"

namespace orlo::python {

using SessionClass = pybind11::class_<Session, std::shared_ptr<Session>>;

/// Declares the operations of a session on media files.
void DeclareMediaOperations(SessionClass& session);

}  // namespace orlo::python
