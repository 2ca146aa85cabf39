// SPDX-License-Identifier: MIT
#include "sonrel/database/DatabaseObserver.h"

#include "sonrel/database/detail/DatabaseFailures.h"

namespace orlo::project {

struct DatabaseObserverImpl {
    DatabaseObserverImpl* outer = nullptr;
    std::string failure;
    bool isConflict = false;
};

namespace {

thread_local DatabaseObserverImpl* current = nullptr;

}  // namespace

void NoteDatabaseFailure(const std::string& text, bool isConflict) {
    if (current == nullptr) return;
    current->failure = text;
    current->isConflict = isConflict;
}

DatabaseObserver::DatabaseObserver() : impl_(std::make_unique<DatabaseObserverImpl>()) {
    impl_->outer = current;
    current = impl_.get();
}

DatabaseObserver::~DatabaseObserver() {
    current = impl_->outer;
}

const std::string& DatabaseObserver::Failure() const {
    return impl_->failure;
}

bool DatabaseObserver::WasRecordedElsewhere() const {
    return impl_->isConflict;
}

}  // namespace orlo::project
