// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/base/Export.h"

namespace orlo::project {

struct DatabaseObserverImpl;

/// Collects the failures of the media database on this thread while it exists. The engine handles
/// some of them itself, and its callers then see only that a file was not made.
///
/// Of several observers on one thread the newest one collects. They are destroyed in reverse order,
/// on the thread that made them.
class SONREL_EXPORT DatabaseObserver {
public:
    DatabaseObserver();
    ~DatabaseObserver();
    DatabaseObserver(const DatabaseObserver&) = delete;
    DatabaseObserver& operator=(const DatabaseObserver&) = delete;

    /// The text of the last failure, as MediaDB throws it; empty without a failure.
    const std::string& Failure() const;
    /// Whether the last failure was the refusal of a record that another connection added first.
    bool WasRecordedElsewhere() const;

private:
    std::unique_ptr<DatabaseObserverImpl> impl_;
};

}  // namespace orlo::project
