// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

#include "sonrel/base/Export.h"

namespace zrh::media {

/// Watches the conversions that ZRAudioConverter makes on this thread while it lives.
///
/// The function is called on the converting thread, several times a second of work, with the
/// source's frames that are done and all of them. When it returns false, the conversion stops and
/// fails with MediaError::Cancelled. Of several observers on one thread the one made last is asked.
/// They are destroyed in reverse order, on the thread that made them.
class SONREL_EXPORT ConversionObserver {
public:
    using Function = std::function<bool(long long doneFrames, long long totalFrames)>;

    explicit ConversionObserver(Function function);
    ~ConversionObserver();
    ConversionObserver(const ConversionObserver&) = delete;
    ConversionObserver& operator=(const ConversionObserver&) = delete;

    /// Asks the observer of this thread; without one the answer is to go on.
    static bool Notify(long long doneFrames, long long totalFrames);

    /// Why the last conversion failed, as a clause; empty when it succeeded, and before the first.
    const std::string& Failure() const { return failure_; }
    /// Stores the reason for Failure with the observer of this thread, if there is one.
    static void NoteFailure(const std::string& reason);

private:
    Function function_;
    ConversionObserver* outer_;
    std::string failure_;
};

}  // namespace zrh::media
