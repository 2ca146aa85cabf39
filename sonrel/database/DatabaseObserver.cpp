// SPDX-License-Identifier: MIT
#include "sonrel/database/DatabaseObserver.h"

namespace orlo::project {

namespace {

thread_local DatabaseObserver* current = nullptr;

}  // namespace

DatabaseObserver::DatabaseObserver() : outer_(current) {
    current = this;
}

DatabaseObserver::~DatabaseObserver() {
    current = outer_;
}

void DatabaseObserver::NoteFailure(const std::string& text, bool isConflict) {
    if (current == nullptr) return;
    current->failure_ = text;
    current->isConflict_ = isConflict;
}

}  // namespace orlo::project
