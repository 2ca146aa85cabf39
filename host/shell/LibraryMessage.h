// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// The error messages of the decoding library, which returns only general codes.
namespace orlo::host {

/// Stores a message of the calling thread. The newest one replaces the older ones.
void StoreLibraryMessage(const std::string& message);

/// Returns and removes the message of the calling thread; empty when there was none.
std::string TakeLibraryMessage();

}  // namespace orlo::host
