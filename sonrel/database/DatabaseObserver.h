// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "sonrel/base/Export.h"

namespace orlo::project {

/// Collects the failures of the media database on this thread while it lives. The engine handles
/// some of them itself, and its callers then see only that a file was not made.
///
/// Of several observers on one thread the last one made collects. They are destroyed in reverse
/// order, on the thread that made them.
class SONREL_EXPORT DatabaseObserver {
public:
    DatabaseObserver();
    ~DatabaseObserver();
    DatabaseObserver(const DatabaseObserver&) = delete;
    DatabaseObserver& operator=(const DatabaseObserver&) = delete;

    /// The text of the last failure, as MediaDB throws it; empty without a failure.
    const std::string& Failure() const { return failure_; }
    /// Whether the last failure was the refusal of a record that another connection added first.
    bool WasRecordedElsewhere() const { return isConflict_; }
    /// Stores a failure with the observer of this thread, if there is one.
    static void NoteFailure(const std::string& text, bool isConflict);

private:
    DatabaseObserver* outer_;
    std::string failure_;
    bool isConflict_ = false;
};

}  // namespace orlo::project
