// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

#include "sonrel/base/Export.h"

namespace zrh::media {

/// Watches the conversions of ZRAudioConverter on this thread during the lifetime of the observer.
///
/// The function is called on the converting thread, several times a second, with the converted
/// source frames and their total. When it returns false, the conversion stops and fails with
/// MediaError::Cancelled. If a thread has several observers, the last one is called. Destroy them
/// in reverse order, on the thread that made them.
class SONREL_EXPORT ConversionObserver {
public:
    using Function = std::function<bool(long long doneFrames, long long totalFrames)>;  ///< reports

    explicit ConversionObserver(Function function);  ///< observes from now on
    ~ConversionObserver();
    ConversionObserver(const ConversionObserver&) = delete;
    ConversionObserver& operator=(const ConversionObserver&) = delete;

    /// Calls the observer of this thread. @return whether to continue; true without an observer
    static bool Notify(long long doneFrames, long long totalFrames);

    /// The reason why the last conversion failed, as a clause; empty after a success and before the
    /// first conversion.
    const std::string& Failure() const { return failure_; }
    /// Sets Failure of the observer of this thread, if it has one.
    static void NoteFailure(const std::string& reason);

private:
    Function function_;
    ConversionObserver* outer_;
    std::string failure_;
};

}  // namespace zrh::media
