// SPDX-License-Identifier: MIT
#include "host/shell/LibraryMessage.h"

#include <utility>

namespace orlo::host {

namespace {

thread_local std::string newest;

}  // namespace

void StoreLibraryMessage(const std::string& message) {
    newest = message;
}

std::string TakeLibraryMessage() {
    return std::exchange(newest, {});
}

}  // namespace orlo::host
