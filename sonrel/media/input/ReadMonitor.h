// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "sonrel/media/input/ReadObserver.h"
#include "sonrel/media/input/ThreadScopes.h"

namespace zrh::media::detail {

/// The state shared by a ReadObserver and the files and streams that it watches.
///
/// Threads: any.
class ReadMonitor {
public:
    explicit ReadMonitor(ReadObserver::Function function) : function_(std::move(function)) {}

    /// Adds frames and calls the observer. @throws ReadCancelled
    void Add(long long frames);
    /// Stores the first failure. Does nothing after End.
    void NoteFailure(const std::string& clause);
    std::string Failure() const;
    /// @throws ReadFailed after a failure and before End
    void CheckFailure() const {
        if (failed_) throw ReadFailed();
    }
    /// Releases the function of the observer.
    void End();

private:
    std::atomic<bool> failed_{false};
    mutable std::mutex mutex_;
    ReadObserver::Function function_;  // guarded by mutex_, like all fields below
    long long frames_ = 0;
    bool cancelled_ = false;
    bool ended_ = false;
    std::string failure_;
};

/// Reports the progress of one stream to a ReadMonitor; cheap enough for every read.
class ReadProgress {
public:
    /// Reports to the monitor of this thread, if it has one.
    ReadProgress() : monitor_(ThreadScopes::Current().readMonitor) {}

    /// Counts frames before they are read. @throws ReadCancelled
    void Count(int frames) {
        if (monitor_ == nullptr || frames < 1) return;
        unreported_ += frames;
        if (unreported_ < REPORT_INTERVAL && !first_) return;
        monitor_->Add(unreported_);
        unreported_ = 0;
        first_ = false;
    }

    /// Reports a failure to the monitor, if there is one.
    void NoteFailure(const std::string& clause) const {
        if (monitor_ != nullptr) monitor_->NoteFailure(clause);
    }

    /// To be called after each read.
    /// @param failed  the samples from @p start on could not be read
    /// @throws ReadFailed
    void CheckRead(bool failed, long long start) const {
        if (monitor_ == nullptr) return;
        if (failed) NoteFailure("its sound cannot be read at sample " + std::to_string(start));
        monitor_->CheckFailure();
    }

private:
    static constexpr long long REPORT_INTERVAL = 65536;

    std::shared_ptr<ReadMonitor> monitor_;
    long long unreported_ = 0;
    bool first_ = true;
};

}  // namespace zrh::media::detail
