// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace orlo::project {

/// Stores a failure with the DatabaseObserver of this thread, if there is one.
/// @param text        one line, as it is thrown
/// @param isConflict  another connection added the record first
void NoteDatabaseFailure(const std::string& text, bool isConflict);

}  // namespace orlo::project
