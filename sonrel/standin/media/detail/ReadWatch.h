// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <mutex>
#include <utility>

#include "sonrel/standin/media/ReadObserver.h"

namespace zrh::media::detail {

/// What an observer and the streams that it watches share.
///
/// Threads: any.
class ReadWatch {
public:
    explicit ReadWatch(ReadObserver::Function function) : function_(std::move(function)) {}

    /// Adds frames and tells the observer. @throws ReadCancelled
    void Add(long long frames);
    /// Lets the observer go.
    void End();

private:
    std::mutex mutex_;
    ReadObserver::Function function_;  // guarded, as what follows
    long long frames_ = 0;
    bool cancelled_ = false;
};

/// One stream's side of a watch, cheap enough for every read.
class ReadTally {
public:
    /// Joins the watch of this thread, if there is one.
    ReadTally();

    /// Counts frames before they are read. @throws ReadCancelled
    void Count(int frames) {
        if (watch_ == nullptr || frames < 1) return;
        untold_ += frames;
        if (untold_ < TOLD_EVERY && !first_) return;
        watch_->Add(untold_);
        untold_ = 0;
        first_ = false;
    }

private:
    static constexpr long long TOLD_EVERY = 65536;

    std::shared_ptr<ReadWatch> watch_;
    long long untold_ = 0;
    bool first_ = true;
};

}  // namespace zrh::media::detail
