// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::host {

/// Keeps the errors of the decoding library for TakeLibraryMessage. Afterwards the library prints
/// nothing on standard error.
void KeepMediaMessages();

}  // namespace orlo::host
